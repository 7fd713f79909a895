#include <gmock/gmock.h>

#include <cstdlib>

#include "Tests/endtoend/Process.h"
#include "Tests/support/FakeService.h"

using testing::HasSubstr;

namespace Tests {
namespace {

// A service, of this build or another, that serves a board at a socket of its own.
struct Service {
   explicit Service( const std::string& command ) : process( command + " --socket " + path ) {
      process.awaitOutput();
   }

   TemporaryDirectory directory;
   std::string path = directory.path() / "smbus.sock";
   Process process;
};

Outcome statusAt( const std::string& socket ) {
   return lumen( "--board Boards/demo --socket " + socket + " status" );
}

TEST( HostInC, ReadsATemperature ) {
   Service service( "lumen-smbusd --emulate Boards/minimal" );
   setenv( "PL_SMBUS_SOCKET", service.path.c_str(), 1 );
   Outcome outcome =
      Process(
         "ReadTemperature " LUMEN_BIN_DIR
         "/../lib/libLumenDriversCorvid.so "
         R"(Boards/minimal/topology.json '{"driver":"TMP75","did":1,"address":{"address":72}}')" )
         .wait();
   EXPECT_EQ( outcome.output, "31.500\n" ) << outcome.errors;
   EXPECT_EQ( outcome.status, 0 );
}

TEST( HostOfThisWidth, ReadsThroughAServiceOfTheOther ) {
   const char* otherBinaries = getenv( "LUMEN_OTHER_BIN_DIR" );
   if ( !otherBinaries ) {
      GTEST_SKIP() << "LUMEN_OTHER_BIN_DIR names no other build";
   }
   Service service( std::string( otherBinaries ) + "/lumen-smbusd --emulate Boards/demo" );
   Outcome outcome = statusAt( service.path );
   EXPECT_EQ( outcome.status, 0 ) << outcome.output << outcome.errors;
}

TEST( Service, IsMissedAtOnceAndWithAdvice ) {
   Outcome outcome = lumen( "--board Boards/demo --socket /none --json status" );
   EXPECT_EQ( outcome.status, 2 );
   EXPECT_EQ( outcome.errors,
              "lumen: no SMBus service answers at /none: No such file or directory; start one "
              "with: lumen-smbusd --emulate Boards/demo --socket /none, or use --emulate\n" );
   EXPECT_THAT( outcome.output, HasSubstr( "\"objects\": [],\n" ) );
   EXPECT_THAT( outcome.output, HasSubstr( "\"ok\": false\n" ) );
}

TEST( Service, ServesOneHostAfterAnotherUnlessItHangs ) {
   Service service( "lumen-smbusd --emulate Boards/demo" );
   EXPECT_EQ( statusAt( service.path ).status, 0 );
   service.process.signal( SIGSTOP );
   EXPECT_THAT( statusAt( service.path ).errors,
                HasSubstr( "no SMBus service answers at " + service.path ) );
   service.process.signal( SIGCONT );
   EXPECT_EQ( statusAt( service.path ).status, 0 );
   service.process.end( SIGTERM );
   EXPECT_EQ( statusAt( service.path ).status, 2 );
}

// It answers the program, which looks whether it is there, but not the library.
TEST( Service, StopsTheProgramWithoutBlamingTheChipsWhenItFallsSilent ) {
   setenv( "PL_SMBUS_TIMEOUT_MS", "300", 1 );
   FakeService service( { &FakeService::serveOne } );
   std::string socket = getenv( "PL_SMBUS_SOCKET" );
   Outcome outcome = statusAt( socket );
   EXPECT_EQ( outcome.status, 1 );
   EXPECT_THAT( outcome.output, HasSubstr( "failed: SMBus service at " + socket +
                                           ": no answer within 300 ms\nintake-duct " ) );
   EXPECT_THAT( outcome.output,
                HasSubstr( "failed: no SMBus service answers any more at " + socket ) );
}

}  // namespace
}  // namespace Tests
