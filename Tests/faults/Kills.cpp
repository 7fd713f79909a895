#include <cstdlib>

#include "Tests/endtoend/Service.h"
#include "Tests/faults/Clients.h"
#include "Tests/faults/Parts.h"
#include "Tests/faults/Sensors.h"

namespace Tests::Faults {

namespace {

constexpr unsigned kReaders = 4;
constexpr unsigned kTimeLimit = 400;     // ms
constexpr unsigned kLongestLife = 5000;  // microseconds, after which a fault strikes

// Strikes the service again and again, each time once all clients are served.
template < typename Fault >
void strikeUnderClients( Row& row, unsigned times, Fault fault ) {
   Board board;
   Service service( kService + board.path() );
   use( service.path, kTimeLimit );
   Clients clients( kReaders );
   while ( row.faults < times && clients.awaitRight() ) {
      usleep( static_cast< unsigned >( rand() ) % kLongestLife );
      fault( service );
      ++row.faults;
   }
   row.require( clients.awaitRight(), "clients are not served again" );
   clients.end( row );
   row.require( row.tally.errors > 0, "no fault was seen" );
}

}  // namespace

void killService( Report& report, unsigned times ) {
   strikeUnderClients( report.add( "service: killed under 4 clients" ), times,
                       []( Service& service ) {
                          service.process->end( SIGKILL );
                          service.start();
                       } );
}

void stopService( Report& report, unsigned times ) {
   strikeUnderClients( report.add( "service: stopped under 4 clients" ), times,
                       []( Service& service ) {
                          service.process->signal( SIGSTOP );
                          usleep( kTimeLimit * 1500 );
                          service.process->signal( SIGCONT );
                       } );
}

}  // namespace Tests::Faults
