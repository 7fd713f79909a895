#include <fmt/format.h>

#include <cstdlib>
#include <cstring>

#include "Tests/endtoend/Service.h"
#include "Tests/faults/Parts.h"
#include "Tests/faults/Sensors.h"
#include "pl_host.h"

using namespace Tests;
using namespace Tests::Faults;

// What a sanitizer holds back of freed memory looks like a leak.
extern "C" const char* __asan_default_options() {
   return "quarantine_size_mb=1:thread_local_quarantine_size_kb=64";
}

int main( int argc, char** argv ) {
   bool isLong = argc == 2 && !strcmp( argv[ 1 ], "--long" );
   if ( argc > 1 && !isLong ) {
      fmt::print( stderr,
                  "usage: {} [--long]\n"
                  "What becomes of readings when chips, frames and the service fail.\n",
                  argv[ 0 ] );
      return 2;
   }
   pl_trace_level_set( -1 );
   const char* options = getenv( "ASAN_OPTIONS" );
   setenv( "ASAN_OPTIONS",
           fmt::format( "{}:{}", __asan_default_options(), options ? options : "" ).c_str(), 1 );
   {
      Board board;
      Service service( kService + board.path() );
      use( service.path, 5000 );
      if ( !makeSensors() ) {
         fmt::print( stderr, "{}: no service\n", argv[ 0 ] );
         return 1;
      }
   }
   Report report;
   failBatchSteps( report, kService );
   if ( const char* other = getenv( "LUMEN_OTHER_BIN_DIR" ) ) {
      failBatchSteps( report, fmt::format( "{}/{}", other, kService ) );
   }
   killService( report, isLong ? 1000 : 5 );
   stopService( report, isLong ? 20 : 1 );
   crowdService( report );
   readForLong( report, isLong ? 10'000'000 : 4'000 );
   return report.end() ? 0 : 1;
}
