#include <gmock/gmock.h>

#include <sstream>

#include "Tests/endtoend/Process.h"

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

namespace Tests {
namespace {

// A copy of a board whose documents a test may change.
class BoardCopy {
 public:
   explicit BoardCopy( const std::string& board ) {
      std::filesystem::copy( LUMEN_SOURCE_DIR "/Boards/" + board, directory_.path() );
   }

   std::string path() const { return directory_.path(); }

   void replace( const char* file, const std::string& place, const std::string& text ) const {
      std::string whole = textOf( directory_.path() / file );
      ASSERT_NE( whole.find( place ), std::string::npos );
      whole.replace( whole.find( place ), place.size(), text );
      std::ofstream( directory_.path() / file ) << whole;
   }

   Outcome lumen( const std::string& command ) const {
      return Tests::lumen( "--board " + path() + " --emulate " + command );
   }

 private:
   TemporaryDirectory directory_;
};

TEST( StatusTest, ReadsTheWholeDemoBoard ) {
   Outcome outcome = lumen( "--board Boards/demo --emulate --json status" );
   EXPECT_EQ( outcome.status, 0 );
   EXPECT_EQ( outcome.errors, "" );
   std::string output = outcome.output;
   size_t time = output.find( "  \"time\"" );
   output.erase( time, output.find( '\n', time ) + 1 - time );
   EXPECT_EQ( output, textOf( LUMEN_SOURCE_DIR "/Tests/endtoend/demo-status.json" ) );
}

// Chips and a mux that are not there, one that stops to answer, and a driver of another kind.
struct FailingBoardTest : testing::Test {
   FailingBoardTest() {
      board.replace( "emulation.json", "\"did\": 110,", R"("did": 110, "unplugged": true,)" );
      board.replace( "emulation.json", "\"did\": 111,",
                     R"("did": 111, "faults": [ { "kind": "nak", "count": 9, "skip": 1 } ],)" );
      board.replace( "emulation.json", "\"did\": 212,",
                     R"("did": 212, "faults": [ { "kind": "nak", "count": 1 } ],)" );
      board.replace( "emulation.json", "\"did\": 420", R"("did": 420, "unplugged": true)" );
      board.replace( "objects.json", "\"objects\": [", R"("objects": [ { "kind": "led",
         "name": "lamp",
         "device": { "driver": "TMP75", "did": 100, "address": { "address": 72 } } },)" );
   }

   BoardCopy board{ "demo" };
};

TEST_F( FailingBoardTest, NamesTheChipThatDoesNotAnswer ) {
   Outcome outcome = board.lumen( "status --sort state" );
   EXPECT_EQ( outcome.status, 1 );
   EXPECT_TRUE( outcome.output.ends_with( "\n\n64 objects: 58 ok, 6 failed\n" ) );
   EXPECT_EQ( outcome.errors, "" );
   std::vector< std::string > problems;
   std::istringstream lines( outcome.output );
   for ( std::string line; std::getline( lines, line ); ) {
      if ( line.find( "  failed" ) != std::string::npos ) {
         problems.push_back( line.substr( 0, line.find( ' ' ) ) +
                             line.substr( line.rfind( "  " ) ) );
      }
   }
   EXPECT_THAT( problems,
                ElementsAre( "lamp  failed: the driver has no led",
                             "asic-left  failed: no acknowledge from TMP75 0x48 at scd1",
                             "asic-right  failed: no acknowledge from TMP75 0x4a at scd1",
                             "port1  failed: no acknowledge from Max7356 0x71 at optics",
                             "port2  failed: no acknowledge from Max7356 0x71 at optics",
                             "vrm-serdes  failed: limits not set, or not all: no acknowledge from "
                             "Isl6812x 0x60 at scd3" ) );
}

TEST_F( FailingBoardTest, ShowsTheDriversOwnWordsOnRequest ) {
   Outcome outcome = board.lumen( "--trace 0 get asic-left" );
   EXPECT_THAT( outcome.errors, HasSubstr( "Assertion `" ) );
   EXPECT_THAT( outcome.errors, Not( HasSubstr( "execute: failure" ) ) );  // is level 3
   EXPECT_THAT( outcome.errors, HasSubstr( "lumen: asic-left: no acknowledge from TMP75" ) );
}

TEST_F( FailingBoardTest, FailsARawTransactionWithTheReason ) {
   Outcome outcome = board.lumen( "--json smbus eeprom1 read-byte 0" );
   EXPECT_EQ( outcome.status, 1 );
   EXPECT_THAT( outcome.output,
                AllOf( HasSubstr( R"("answer": null)" ), HasSubstr( R"("state": "failed")" ),
                       HasSubstr( R"("error": "no acknowledge from Max7356 0x71 at optics")" ) ) );
}

TEST( BrokenBoardTest, SendsNoControlCharacterToTheTerminal ) {
   BoardCopy board( "minimal" );
   board.replace( "objects.json", R"("driver": "TMP75")", R"("driver": "\u001b[31m")" );
   for ( const Outcome& outcome :
         { board.lumen( "--trace 0 status" ), Process( "lumen-smbusd '\x1b[31m'" ).wait() } ) {
      EXPECT_THAT( outcome.errors, AllOf( HasSubstr( " [31m" ), Not( HasSubstr( "\x1b" ) ) ) );
   }
}

TEST( BrokenBoardTest, NamesFileAndPlace ) {
   BoardCopy board( "minimal" );
   board.replace( "topology.json", R"("did": 1, "label": "i2c<0x48>", "driver": "TMP75",)",
                  R"("did": "one",)" );
   for ( const char* command : { "status", "check" } ) {
      Outcome outcome = board.lumen( std::string( "--json " ) + command );
      EXPECT_EQ( outcome.status, 2 );
      EXPECT_EQ(
         outcome.errors,
         board.path() + "/topology.json: /0/devices/0/did: must be an integer, not a string\n" );
      EXPECT_THAT( outcome.output,
                   AllOf( HasSubstr( R"("objects": [],)" ), HasSubstr( R"("ok": false)" ),
                          HasSubstr( R"("pointer": "/0/devices/0/did")" ) ) );
   }
}

TEST( CheckTest, FindsNothingInTheBoardsOfThisProject ) {
   for ( const auto& entry : std::filesystem::directory_iterator( LUMEN_SOURCE_DIR "/Boards" ) ) {
      if ( std::filesystem::exists( entry.path() / "topology.json" ) ) {
         Outcome outcome = lumen( "--board " + entry.path().string() + " check" );
         EXPECT_EQ( outcome.status, 0 ) << outcome.errors;
         EXPECT_THAT( outcome.output, HasSubstr( "no mistakes found" ) );
      }
   }
}

}  // namespace
}  // namespace Tests
