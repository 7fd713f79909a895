#include "Tests/faults/Sensors.h"

#include <fmt/format.h>

#include <cerrno>
#include <chrono>
#include <cstdlib>

#include "Ham/ServiceSocket.h"
#include "PlatformLibrary/PLSocket.h"
#include "pl.h"
#include "pl_host.h"

namespace Tests::Faults {

namespace {

using Clock = std::chrono::steady_clock;

constexpr const char* kTwins = LUMEN_SOURCE_DIR "/Tests/service/twins/";
constexpr int kFirstDevice = 10;  // and degrees
constexpr float kUntouched = -99;
constexpr int kAttempts = 5;

pl_temp_sensor* sensors[ kSensors ];
unsigned limit;

}  // namespace

Board::Board( const std::string& members ) {
   for ( const char* name : { "topology.json", "emulation.json" } ) {
      std::filesystem::copy( kTwins + std::string( name ), folder_.path() / name );
   }
   std::string emulation = textOf( folder_.path() / "emulation.json" );
   std::ofstream( folder_.path() / "emulation.json" ) << emulation.insert( 1, members );
   std::ofstream( folder_.path() / "objects.json" ) << R"({ "objects": [] })";
}

bool makeSensors() {
   std::string topology = textOf( std::string( kTwins ) + "topology.json" );
   if ( pl_temp_sensor_init( topology.c_str() ) != PL_STATUS_OK ) {
      return false;
   }
   for ( size_t i = 0; i < kSensors; ++i ) {
      std::string arguments =
         fmt::format( R"({{"driver":"TMP75","did":{},"address":{{"address":{}}}}})",
                      kFirstDevice + i, i == kSensors - 1 ? 72 : 73 );
      sensors[ i ] = pl_temp_sensor_add( arguments.c_str(), 75, 85 );
   }
   return true;
}

void read( size_t sensor, Tally& tally ) {
   float celsius = kUntouched;
   auto start = Clock::now();
   pl_status status = sensors[ sensor ]->ops->get_temperature( sensors[ sensor ], &celsius );
   auto time = ( Clock::now() - start ) / std::chrono::milliseconds( 1 );
   tally.longest = std::max( tally.longest.load(), static_cast< uint32_t >( time ) );
   float expected = status ? kUntouched : static_cast< float >( kFirstDevice + sensor );
   ++( celsius != expected ? tally.wrong : status ? tally.errors : tally.right );
}

bool readsRight( size_t sensor, Tally& tally ) {
   for ( int i = 0; i < kAttempts; ++i ) {
      uint32_t before = tally.right;
      pl_failure_forget();
      read( sensor, tally );
      if ( tally.right > before ) {
         return true;
      }
      if ( !pl_last_failure() || pl_last_failure()->error != ETIMEDOUT ) {
         break;
      }
   }
   return false;
}

void use( const std::string& socket, unsigned milliseconds ) {
   limit = milliseconds;
   setenv( "PL_SMBUS_TIMEOUT_MS", std::to_string( limit ).c_str(), 1 );
   setenv( "PL_SMBUS_SOCKET", socket.c_str(), 1 );
   if ( _plSock ) {
      _plSock->cleanup();
   }
}

unsigned timeLimit() {
   return limit;
}

}  // namespace Tests::Faults
