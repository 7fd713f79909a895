#include <gmock/gmock.h>

#include <cstdlib>

#include "Tests/endtoend/Process.h"

namespace Tests {
namespace {

const std::string kMinimal = LUMEN_SOURCE_DIR "/Boards/minimal";

// A service, of this build or another, that serves a board at a socket of its own.
class Service {
 public:
   Service( const std::string& program, const std::string& board )
       : process_( program, { "--emulate", board, "--socket", path() } ) {
      process_.awaitOutput();
   }

   std::string path() const { return directory_.path() / "smbus.sock"; }

 private:
   TemporaryDirectory directory_;
   Process process_;
};

TEST( HostInC, ReadsATemperature ) {
   Service service( "lumen-smbusd", kMinimal );
   setenv( "PL_SMBUS_SOCKET", service.path().c_str(), 1 );
   Outcome outcome = Process( "ReadTemperature", { LUMEN_BIN_DIR "/../lib/libLumenDriversCorvid.so",
                                                   kMinimal + "/topology.json",
                                                   R"( { "driver": "TMP75", "did": 1,
                                                         "address": { "address": 72 } } )" } )
                        .wait();
   EXPECT_EQ( outcome.output, "31.500\n" ) << outcome.errors;
   EXPECT_EQ( outcome.status, 0 );
}

TEST( HostOfThisWidth, ReadsThroughAServiceOfTheOther ) {
   const char* otherBinaries = getenv( "LUMEN_OTHER_BIN_DIR" );
   if ( !otherBinaries ) {
      GTEST_SKIP() << "LUMEN_OTHER_BIN_DIR names no other build";
   }
   Service service( std::string( otherBinaries ) + "/lumen-smbusd",
                    LUMEN_SOURCE_DIR "/Boards/demo" );
   Outcome outcome =
      lumen( { "--board", LUMEN_SOURCE_DIR "/Boards/demo", "--socket", service.path(), "status" } );
   EXPECT_EQ( outcome.status, 0 ) << outcome.output << outcome.errors;
}

}  // namespace
}  // namespace Tests
