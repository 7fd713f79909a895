#include <cstdlib>

#include "Tests/endtoend/Service.h"
#include "Tests/faults/Clients.h"
#include "Tests/faults/Parts.h"
#include "Tests/faults/Sensors.h"

namespace Tests::Faults {

namespace {

constexpr unsigned kLate = 4;          // clients that come last, and stay
constexpr unsigned kTimeLimit = 2000;  // ms
constexpr unsigned kShortLimit = 300;  // where many clients wait for it
constexpr uint32_t kReadings = 3;      // of each client
constexpr unsigned kPause = 5000;      // microseconds

struct Case {
   const char* name;
   std::string program;
   unsigned clients;
   unsigned timeLimit;
   bool hasPlaces;  // for all clients
};

void crowd( Report& report, const Case& each ) {
   Row& row = report.add( each.name );
   Board board;
   Service service( each.program + board.path() );
   use( service.path, each.timeLimit );
   Clients early( each.clients - kLate, { .pause = kPause } );
   row.require( early.awaitTried( 1 ), "clients hang" );
   Clients late( kLate, { .pause = kPause } );
   row.require( late.awaitTried( kReadings ) && early.awaitTried( kReadings ), "clients hang" );
   early.end( row );
   row.require( late.awaitRight(), "clients are not served after the crowd has gone" );
   late.end( row );
   row.require( !each.hasPlaces || row.tally.errors == 0, "clients are turned away" );
}

}  // namespace

void crowdService( Report& report ) {
   // Another user than root has fewer places.
   crowd( report, { "crowd: 64 clients", kService, 64, kTimeLimit, geteuid() == 0 } );
   crowd( report, { "crowd: 100 clients", kService, 100, kTimeLimit, false } );
#ifndef __SANITIZE_ADDRESS__  // whose own checks need descriptors
   std::string shortOfDescriptors = std::string( "prlimit --nofile=32 " ) + kService;
   crowd( report,
          { "crowd: 64 clients, 32 descriptors", shortOfDescriptors, 64, kShortLimit, false } );
#endif
}

}  // namespace Tests::Faults
