#include <gmock/gmock.h>

#include <cstdlib>

#include "Tests/endtoend/Process.h"

namespace Tests {
namespace {

// A service, of this build or another, that serves a board at a socket of its own.
struct Service {
   Service( const std::string& program, const std::string& board )
       : process( program, { "--emulate", board, "--socket", path } ) {
      process.awaitOutput();
   }

   TemporaryDirectory directory;
   std::string path = directory.path() / "smbus.sock";
   Process process;
};

TEST( HostInC, ReadsATemperature ) {
   const std::string board = LUMEN_SOURCE_DIR "/Boards/minimal";
   Service service( "lumen-smbusd", board );
   setenv( "PL_SMBUS_SOCKET", service.path.c_str(), 1 );
   Outcome outcome =
      Process( "ReadTemperature",
               { LUMEN_BIN_DIR "/../lib/libLumenDriversCorvid.so", board + "/topology.json",
                 R"( { "driver": "TMP75", "did": 1, "address": { "address": 72 } } )" } )
         .wait();
   EXPECT_EQ( outcome.output, "31.500\n" ) << outcome.errors;
   EXPECT_EQ( outcome.status, 0 );
}

TEST( HostOfThisWidth, ReadsThroughAServiceOfTheOther ) {
   const std::string board = LUMEN_SOURCE_DIR "/Boards/demo";
   const char* otherBinaries = getenv( "LUMEN_OTHER_BIN_DIR" );
   if ( !otherBinaries ) {
      GTEST_SKIP() << "LUMEN_OTHER_BIN_DIR names no other build";
   }
   Service service( std::string( otherBinaries ) + "/lumen-smbusd", board );
   Outcome outcome = lumen( { "--board", board, "--socket", service.path, "status" } );
   EXPECT_EQ( outcome.status, 0 ) << outcome.output << outcome.errors;
}

}  // namespace
}  // namespace Tests
