#include <gtest/gtest.h>
#include <sys/time.h>

#include "Tests/endtoend/Process.h"
#include "Tests/support/Wire.h"

namespace Tests {
namespace {

TEST( Service, TellsTheManagerThatItServesLivesAndStops ) {
   TemporaryDirectory directory;
   std::string path = directory.path() / "notify";
   int manager = socketAt( path, bind, SOCK_DGRAM );
   timeval patience{ .tv_sec = 10, .tv_usec = 0 };
   setsockopt( manager, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience );
   auto heard = [ & ] {
      char message[ 256 ] = {};
      recv( manager, message, sizeof message - 1, 0 );
      return std::string( message );
   };
   std::string socket = directory.path() / "smbus.sock";
   Process service( "env NOTIFY_SOCKET=" + path +
                    " WATCHDOG_USEC=100000 lumen-smbusd --emulate Boards/minimal --socket " +
                    socket );
   EXPECT_EQ( heard(), "READY=1\nSTATUS=serving Boards/minimal at " + socket );
   EXPECT_EQ( heard() + heard() + heard(), "WATCHDOG=1WATCHDOG=1WATCHDOG=1" );
   service.signal( SIGTERM );
   std::string last = heard();
   while ( last == "WATCHDOG=1" ) {
      last = heard();
   }
   EXPECT_EQ( last, "STOPPING=1" );
   EXPECT_EQ( service.wait().status, 0 );
   close( manager );
}

}  // namespace
}  // namespace Tests
