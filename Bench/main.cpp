#include <fmt/format.h>

#include <cstring>
#include <exception>

#include "Bench/Measures.h"
#include "Bench/Report.h"
#include "BoardFiles/Finding.h"
#include "pl_host.h"

int main( int argc, char** argv ) try {
   std::string jsonFile;
   if ( argc == 3 && !strcmp( argv[ 1 ], "--json" ) ) {
      jsonFile = argv[ 2 ];
   } else if ( argc != 1 ) {
      fmt::print( stderr, "usage: {} [--json FILE]\n", argv[ 0 ] );
      return 2;
   }
   pl_trace_level_set( -1 );
   Bench::Report report;
   Bench::measureRoundTrip( report );
   Bench::measureLibraryShare( report );
   Bench::measureTopology( report );
   Bench::measureAdding( report );
   Bench::measureMemory( report );
   Bench::measureSimulation( report );
   Bench::measurePoe( report );
   Bench::measureClients( report );
   Bench::measureWireLog( report );
   Bench::measureSweep( report );
   Bench::measureNeighbour( report );
   Bench::measurePrograms( report );
   report.printTable();
   return jsonFile.empty() || report.writeJson( jsonFile ) ? 0 : 1;
} catch ( const BoardFiles::BoardError& error ) {
   for ( const std::string& line : BoardFiles::linesOf( error.findings ) ) {
      fmt::print( stderr, "{}\n", line );
   }
   return 1;
} catch ( const std::exception& problem ) {
   fmt::print( stderr, "lumen-bench: {}\n", problem.what() );
   return 1;
}
