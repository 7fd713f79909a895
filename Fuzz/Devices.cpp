#include <algorithm>

#include "Drivers/BCM59121/Exchange.h"
#include "Fuzz/HostObject.h"
#include "Fuzz/Support.h"
#include "Ham/ServiceSocket.h"
#include "PlatformLibrary/PLSocket.h"
#include "Topology/Topology.h"
#include "pl.h"
#include "pl_host.h"
#include "smbus.pb.h"

namespace {

// What the chips answer, over and over, and how far it was used.
std::string answers;
size_t place = 0;

char nextAnswer() {
   return answers.empty() ? '\0' : answers[ place++ % answers.size() ];
}

void letLibraryStart() {
   pl_trace_level_set( 9 );
   pl_trace_sink_set( []( void*, int, const char* ) {}, nullptr );
   Drivers::Poe::pause = []( auto ) {};
   _plSock = new PlatformLibrary::PLSocket;
}

}  // namespace

// This program's definition comes before the shared library's. One batch in 64 fails.
int PlatformLibrary::PLSocket::sendRequestWait( const Smbus::TransactionRequest* request,
                                                Smbus::TransactionResponse** reply ) {
   auto answer = new Smbus::TransactionResponse;
   *reply = answer;
   for ( const Smbus::Request& each : request->request() ) {
      bool isBlock = each.type() == Smbus::REQUEST_BLOCK_READ;
      size_t size = isBlock ? static_cast< uint8_t >( nextAnswer() )
                            : std::min< size_t >( std::max< size_t >( each.size(), 1 ), 255 );
      std::string data( size, '\0' );
      std::ranges::generate( data, nextAnswer );
      answer->add_response()->set_data( data );
   }
   if ( place % 64 == 63 ) {
      answer->set_failure( ENXIO );
   }
   return 0;
}

// A topology, then objects with their device arguments, then what the chips answer.
extern "C" int LLVMFuzzerTestOneInput( const uint8_t* data, size_t size ) {
   [[maybe_unused]] static bool started = ( letLibraryStart(), true );
   auto parts = Fuzz::partsOf( data, size, 8 );
   answers = parts.back();
   place = 0;
   Fuzz::forgetDevices();
   Topology::_topology_json.clear();
   if ( !Fuzz::completes( [ & ] { ( void )pl_led_init( parts[ 0 ].c_str() ); } ) ) {
      Topology::_topology_index.clear();  // it leads into a tree that was not finished
      return 0;
   }
   for ( size_t i = 1; i + 1 < parts.size(); ++i ) {
      if ( auto use = Fuzz::addObject( parts[ i ] ) ) {
         ( *use )( answers );
      }
   }
   return 0;
}
