#include <fmt/format.h>

#include <algorithm>
#include <cstdlib>
#include <stdexcept>
#include <thread>
#include <vector>

#include "Bench/Measures.h"
#include "Bench/TemporaryBoard.h"
#include "Bench/Timing.h"
#include "SmbusService/EmbeddedService.h"
#include "pl.h"

namespace Bench {

namespace {

constexpr uint32_t kDid = 9'000'000;  // no other measurement's
constexpr int kPorts = 48;

// Of a port: measurements, channel power, status, channels. The emulated bus takes no time.
constexpr int kExchanges = 4;
constexpr double kTurnaround = 4000;  // microseconds

constexpr std::chrono::milliseconds kCacheLasts( 2100 );

std::vector< pl_poe_port* > addPorts( const std::string& topology ) {
   if ( pl_poe_port_init( topology.c_str() ) != PL_STATUS_OK ) {
      throw std::runtime_error( "the library cannot reach its service" );
   }
   std::vector< pl_poe_port* > ports;
   for ( int id = 0; id < kPorts; ++id ) {
      static std::vector< std::string > arguments( kPorts );
      arguments[ id ] = fmt::format(
         R"({{"driver":"BCM59121","did":{},"address":{{"address":32}},"driverArgs":{{"numPorts":{},"numAtPorts":{},"portId":{}}}}})",
         kDid, kPorts, kPorts, id );
      ports.push_back( pl_poe_port_add( arguments[ id ].c_str() ) );
      if ( !ports.back() ) {
         throw std::runtime_error( "a PoE port cannot be added" );
      }
   }
   return ports;
}

// All that a host measures of a port.
void readAll( pl_poe_port* port ) {
   float value[ 3 ];
   pl_poe_device_class deviceClass[ 3 ];
   pl_poe_port_state state[ 3 ];
   pl_poe_port_pair_state pairs;
   const pl_poe_port_ops& ops = *port->ops;
   if ( ops.get_poe_port_voltage( port, value ) || ops.get_poe_port_current( port, value ) ||
        ops.get_poe_port_temperature( port, value ) ||
        ops.get_poe_port_power( port, &value[ 0 ], &value[ 1 ], &value[ 2 ] ) ||
        ops.get_poe_device_class( port, &deviceClass[ 0 ], &deviceClass[ 1 ], &deviceClass[ 2 ] ) ||
        ops.get_poe_port_power_state( port, &state[ 0 ], &state[ 1 ], &state[ 2 ], &pairs ) ) {
      throw std::runtime_error( "a PoE port cannot be read" );
   }
}

}  // namespace

void measurePoe( Report& report ) {
   std::string topology = fmt::format(
      R"([{{"type":"I2C","ham":"LumenSmbus","id":0,"devices":[{{"did":{},"driver":"BCM59121","address":{{"address":32}}}}]}}])",
      kDid );
   TemporaryBoard board( topology, { kDid } );
   SmbusService::EmbeddedService service( board.path() );
   setenv( "PL_SMBUS_SOCKET", service.path().c_str(), 1 );
   std::vector< pl_poe_port* > ports = addPorts( topology );
   // The first request meets the connection to an earlier measurement's service.
   bool isGood;
   ( void )ports[ 0 ]->ops->get_poe_port_crc_status( ports[ 0 ], &isGood );
   double best = 1e18;
   for ( int round = 0; round < 3; ++round ) {
      auto start = Clock::now();
      std::ranges::for_each( ports, readAll );
      best = std::min( best, microseconds( Clock::now() - start ) );
      std::this_thread::sleep_for( kCacheLasts );
   }
   report.add( { "all measurements of 48 PoE ports", best / 1000, "the controller's turnaround",
                 kPorts * kExchanges * kTurnaround / 1000, "ms", 1.1 } );
}

}  // namespace Bench
