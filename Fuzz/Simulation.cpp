#include <cstdlib>
#include <fstream>

#include "Fuzz/HostObject.h"
#include "Fuzz/Support.h"
#include "Tests/support/TemporaryDirectory.h"
#include "pl.h"
#include "pl_host.h"

namespace {

constexpr const char* kTopology =
   R"([{"type":"I2C","ham":"LumenSmbus","id":0,"devices":[{"did":1}]}])";

void startSimulation( const std::string& directory ) {
   setenv( "LUMENLIB_SIMDIR", directory.c_str(), 1 );
   setenv( "SIMULATION_VMID", "1", 1 );
   pl_trace_level_set( -1 );
   Fuzz::require( pl_led_init( kTopology ) == PL_STATUS_OK );
}

}  // namespace

// An object, and what someone made of its simulation file; without that, the file is gone.
extern "C" int LLVMFuzzerTestOneInput( const uint8_t* data, size_t size ) {
   static const Tests::TemporaryDirectory files;
   [[maybe_unused]] static bool started = ( startSimulation( files.path() ), true );
   auto parts = Fuzz::partsOf( data, size, 2 );
   Fuzz::forgetDevices();
   auto use = Fuzz::addObject( parts[ 0 ] );
   for ( const auto& entry : std::filesystem::directory_iterator( files.path() ) ) {
      std::filesystem::remove( entry.path() );
      if ( parts.size() > 1 ) {
         std::ofstream( entry.path(), std::ios::binary ) << parts[ 1 ];
      }
   }
   if ( use ) {
      ( *use )( parts.back() );
   }
   for ( const auto& entry : std::filesystem::directory_iterator( files.path() ) ) {
      std::filesystem::remove( entry.path() );
   }
   return 0;
}
