#include <fmt/format.h>

#include <cstdlib>

#include "Tests/endtoend/Service.h"
#include "Tests/faults/Clients.h"
#include "Tests/faults/Parts.h"
#include "Tests/faults/Sensors.h"

namespace Tests::Faults {

namespace {

constexpr unsigned kReaders = 4;
constexpr unsigned kTimeLimit = 5000;  // ms
constexpr long kMayGrow = 1024;        // KiB
constexpr std::chrono::minutes kPatience( 60 );

long residentKib( pid_t process ) {
   long size = 0;
   long pages = 0;
   std::ifstream( fmt::format( "/proc/{}/statm", process ) ) >> size >> pages;
   return pages * sysconf( _SC_PAGESIZE ) / 1024;
}

}  // namespace

void readForLong( Report& report, uint32_t readings ) {
   Board board;
   Service service( kService + board.path() );
   use( service.path, kTimeLimit );
   uint32_t each = readings / kReaders;
   Clients clients( kReaders, { .readings = each } );
   std::vector< pid_t > processes = clients.ids();
   processes.push_back( service.process->id() );
   std::vector< long > before;
   Row& row = report.add( "none: " );
   row.require( clients.awaitTried( each / 4, kPatience ), "clients hang" );
   for ( pid_t process : processes ) {
      before.push_back( residentKib( process ) );
   }
   row.require( clients.awaitTried( each, kPatience ), "clients hang" );
   for ( size_t i = 0; i < processes.size(); ++i ) {
      long grown = residentKib( processes[ i ] ) - before[ i ];
      row.require( before[ i ] > 0 && grown <= kMayGrow, "memory grows" );
      row.what += fmt::format( "{:+} ", grown );
   }
   row.what +=
      fmt::format( "KiB: 4 clients, service, of {} and {}", before.front(), before.back() );
   clients.end( row );
   row.require( row.tally.errors == 0, "readings fail" );
}

}  // namespace Tests::Faults
