#include <fmt/format.h>

#include <cstdlib>
#include <memory>
#include <stdexcept>
#include <thread>
#include <vector>

#include "Bench/Boards.h"
#include "Bench/Measures.h"
#include "Bench/TemporaryBoard.h"
#include "Bench/Timing.h"
#include "PlatformLibrary/PLSocket.h"
#include "SmbusService/EmbeddedService.h"
#include "Topology/HamAddress.h"
#include "smbus.pb.h"

namespace Bench {

namespace {

constexpr unsigned kAdapters = 4;
constexpr unsigned kClients = 16;
constexpr unsigned kReadsPerClient = 10'000;

// Microseconds of each of a client's reads, one chip on its own bus.
std::vector< double > readMany( unsigned bus ) {
   Smbus::TransactionRequest batch;
   Smbus::Request* request = batch.add_request();
   request->set_address( HamAddress{ .address = kFirstAddress, .bus = bus, .addrSize = 1 }.word() );
   request->set_type( Smbus::REQUEST_READ );
   request->set_size( 2 );
   request->set_pci( 16 );
   request->set_mastertype( Smbus::MASTER_FB_DOM_FPGA );
   PlatformLibrary::PLSocket socket;
   socket.setup();
   std::vector< double > times;
   times.reserve( kReadsPerClient );
   for ( unsigned i = 0; i < kReadsPerClient; ++i ) {
      auto start = Clock::now();
      Smbus::TransactionResponse* reply = nullptr;
      int result = socket.sendRequestWait( &batch, &reply );
      std::unique_ptr< Smbus::TransactionResponse > owner( reply );
      if ( result < 0 || reply->failure() ) {
         return {};
      }
      times.push_back( microseconds( Clock::now() - start ) );
   }
   return times;
}

struct Load {
   double readsPerSecond;
   double median;
   double worstOfHundred;  // the 99th percentile
};

Load run( unsigned clients ) {
   std::vector< std::vector< double > > times( clients );
   std::vector< std::thread > threads;
   auto start = Clock::now();
   for ( unsigned i = 0; i < clients; ++i ) {
      threads.emplace_back( [ &times, i ] { times[ i ] = readMany( i % kAdapters ); } );
   }
   std::vector< double > all;
   for ( unsigned i = 0; i < clients; ++i ) {
      threads[ i ].join();
      if ( times[ i ].empty() ) {
         throw std::runtime_error( "a client's reading failed" );
      }
      all.insert( all.end(), times[ i ].begin(), times[ i ].end() );
   }
   double seconds = microseconds( Clock::now() - start ) / 1e6;
   std::sort( all.begin(), all.end() );
   return { all.size() / seconds, all[ all.size() / 2 ], all[ all.size() * 99 / 100 ] };
}

}  // namespace

void measureClients( Report& report ) {
   std::vector< uint32_t > chips;
   for ( unsigned bus = 0; bus < kAdapters; ++bus ) {
      chips.push_back( 1 + bus * kDevicesPerBus );
   }
   TemporaryBoard board( topologyOf( kAdapters * kDevicesPerBus, 1 ), chips );
   SmbusService::EmbeddedService service( board.path() );
   setenv( "PL_SMBUS_SOCKET", service.path().c_str(), 1 );
   Load one = run( 1 );
   Load many = run( kClients );
   report.add( { "time per read, 16 clients on 4 adapters", 1e6 / many.readsPerSecond, "one client",
                 1e6 / one.readsPerSecond, "us", 1 } );
   report.add( { "99th percentile of a read, 16 clients", many.worstOfHundred, "their median",
                 many.median, "us", 5 } );
}

}  // namespace Bench
