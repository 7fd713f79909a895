#include <gmock/gmock.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <thread>

#include "Tests/endtoend/Process.h"
#include "Utils/Json.h"

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

namespace Tests {
namespace {

const std::string kBoards = LUMEN_SOURCE_DIR "/Boards/";

// A copy of a board whose documents a test may change.
class BoardCopy {
 public:
   explicit BoardCopy( const std::string& board ) {
      std::filesystem::copy( kBoards + board, directory_.path() );
   }

   std::string path() const { return directory_.path(); }
   void write( const char* file, const std::string& text ) const {
      std::ofstream( directory_.path() / file ) << text;
   }
   void insertBehind( const char* file, const std::string& place, const std::string& text ) const {
      std::string whole = textOf( directory_.path() / file );
      ASSERT_NE( whole.find( place ), std::string::npos );
      write( file, whole.insert( whole.find( place ) + place.size(), text ) );
   }

 private:
   TemporaryDirectory directory_;
};

Utils::Json::Document parse( const std::string& text ) {
   Utils::Json::Document document;
   EXPECT_FALSE( Utils::Json::parse( text.c_str(), document ) ) << text;
   return document;
}

// "name: state" of each object that is not ok, with the reason where there is one.
std::vector< std::string > problems( const std::string& output ) {
   std::vector< std::string > list;
   auto document = parse( output );
   for ( const auto& object : document[ "objects" ].GetArray() ) {
      if ( object[ "state" ] != "ok" ) {
         list.push_back( std::string( object[ "name" ].GetString() ) + ": " +
                         object[ "state" ].GetString() );
         list.back() +=
            object[ "reason" ].IsNull() ? "" : std::string( ": " ) + object[ "reason" ].GetString();
      }
   }
   return list;
}

TEST( StatusTest, ReadsTheWholeDemoBoard ) {
   Outcome outcome = lumen( { "--board", kBoards + "demo", "--emulate", "--json", "status" } );
   EXPECT_EQ( outcome.status, 0 );
   EXPECT_EQ( outcome.errors, "" );
   std::string expected = textOf( LUMEN_SOURCE_DIR "/Tests/endtoend/demo-status.json" );
   EXPECT_EQ( outcome.output,
              expected.replace( expected.find( "Boards/" ), strlen( "Boards/" ), kBoards ) );
}

TEST( StatusTest, PrintsATable ) {
   Outcome outcome = lumen( { "--board", kBoards + "minimal", "--emulate", "status" } );
   EXPECT_EQ( outcome.status, 0 );
   EXPECT_EQ( outcome.output,
              "object  kind         reading  unit   limits  state\n"
              "board   temp_sensor     31.5  C     70 / 80  ok\n" );
}

// Chips and a mux that are not there, one that stops to answer, and a driver of another kind.
class FailingBoardTest : public testing::Test {
 protected:
   FailingBoardTest() {
      board.insertBehind( "emulation.json", "\"did\": 110,", R"("unplugged": true,)" );
      board.insertBehind( "emulation.json", "\"did\": 111,",
                          R"("faults": [ { "kind": "nak", "count": 9, "skip": 1 } ],)" );
      board.insertBehind( "emulation.json", "\"did\": 420", R"(, "unplugged": true)" );
      board.insertBehind( "objects.json", "\"objects\": [", R"( { "kind": "led", "name": "lamp",
         "device": { "driver": "TMP75", "did": 100, "address": { "address": 72 } } },)" );
   }

   BoardCopy board{ "demo" };
};

TEST_F( FailingBoardTest, NamesTheChipThatDoesNotAnswer ) {
   Outcome outcome = lumen( { "--board", board.path(), "--emulate", "--json", "status" } );
   EXPECT_EQ( outcome.status, 1 );
   EXPECT_EQ( outcome.errors, "" );
   EXPECT_THAT( problems( outcome.output ),
                ElementsAre( "lamp: failed: the driver has no led",
                             "asic-left: failed: no acknowledge from TMP75 0x48 at scd1",
                             "asic-right: failed: no acknowledge from TMP75 0x4a at scd1",
                             "port1: failed: no acknowledge from Max7356 0x71 at optics",
                             "port2: failed: no acknowledge from Max7356 0x71 at optics" ) );
}

TEST_F( FailingBoardTest, ShowsTheDriversOwnWordsOnRequest ) {
   Outcome outcome =
      lumen( { "--board", board.path(), "--emulate", "--trace", "0", "get", "asic-left" } );
   EXPECT_THAT( outcome.errors, HasSubstr( "Assertion `" ) );
   EXPECT_THAT( outcome.errors, Not( HasSubstr( "execute: failure" ) ) );  // is level 3
   EXPECT_THAT( outcome.errors, HasSubstr( "lumen: asic-left: no acknowledge from TMP75" ) );
}

TEST_F( FailingBoardTest, FailsARawTransactionWithTheReason ) {
   Outcome outcome = lumen(
      { "--board", board.path(), "--emulate", "--json", "smbus", "eeprom1", "read-byte", "0" } );
   EXPECT_EQ( outcome.status, 1 );
   EXPECT_STREQ( parse( outcome.output )[ "error" ].GetString(),
                 "no acknowledge from Max7356 0x71 at optics" );
}

TEST( BrokenBoardTest, NamesFileAndPlace ) {
   BoardCopy board( "minimal" );
   board.write( "topology.json", R"([ { "type": "I2C", "ham": "LumenSmbus", "id": 0,
      "devices": [ { "did": "one" } ] } ])" );
   for ( const char* command : { "status", "check" } ) {
      Outcome outcome = lumen( { "--board", board.path(), "--emulate", "--json", command } );
      EXPECT_EQ( outcome.status, 2 );
      EXPECT_EQ(
         outcome.errors,
         board.path() + "/topology.json: /0/devices/0/did: must be an integer, not a string\n" );
      auto document = parse( outcome.output );
      EXPECT_FALSE( document[ "ok" ].GetBool() );
      EXPECT_EQ( document[ "objects" ].Size(), 0u );
      EXPECT_STREQ( document[ "findings" ][ 0 ][ "pointer" ].GetString(), "/0/devices/0/did" );
   }
}

TEST( CheckTest, FindsNothingInTheBoardsOfThisProject ) {
   for ( const auto& entry : std::filesystem::directory_iterator( kBoards ) ) {
      if ( std::filesystem::exists( entry.path() / "topology.json" ) ) {
         Outcome outcome = lumen( { "--board", entry.path(), "check" } );
         EXPECT_EQ( outcome.status, 0 ) << outcome.errors;
         EXPECT_THAT( outcome.output, HasSubstr( "no mistakes found" ) );
      }
   }
}

class ServiceTest : public testing::Test {
 protected:
   std::string socket() const { return directory_.path() / "smbus.sock"; }
   Outcome status() const {
      return lumen( { "--board", kBoards + "demo", "--socket", socket(), "--json", "status" } );
   }

   TemporaryDirectory directory_;
};

TEST_F( ServiceTest, IsMissedAtOnceAndWithAdvice ) {
   Outcome outcome = status();
   EXPECT_EQ( outcome.status, 2 );
   EXPECT_EQ( outcome.errors, "lumen: no SMBus service answers at " + socket() +
                                 ": No such file or directory; start one with: lumen-smbusd "
                                 "--emulate " +
                                 kBoards + "demo --socket " + socket() + ", or use --emulate\n" );
   auto document = parse( outcome.output );
   EXPECT_FALSE( document[ "ok" ].GetBool() );
   EXPECT_EQ( document[ "objects" ].Size(), 0u );
}

TEST_F( ServiceTest, ServesOneHostAfterAnotherUnlessItHangs ) {
   Process service( "lumen-smbusd", { "--emulate", kBoards + "demo", "--socket", socket() } );
   service.awaitOutput();
   EXPECT_EQ( status().status, 0 );
   service.signal( SIGSTOP );
   EXPECT_THAT( status().errors, HasSubstr( "no SMBus service answers at " + socket() ) );
   service.signal( SIGCONT );
   EXPECT_EQ( status().status, 0 );
   service.end( SIGTERM );
   EXPECT_EQ( status().status, 2 );
}

// It answers the program, which looks whether it is there, but not the library.
TEST_F( ServiceTest, StopsTheProgramWithoutBlamingTheChipsWhenItFallsSilent ) {
   setenv( "PL_SMBUS_TIMEOUT_MS", "300", 1 );
   sockaddr_un address{ .sun_family = AF_UNIX, .sun_path = {} };
   socket().copy( address.sun_path, sizeof address.sun_path - 1 );
   int listener = ::socket( AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0 );
   bind( listener, reinterpret_cast< sockaddr* >( &address ), sizeof address );
   listen( listener, 8 );
   std::thread service( [ listener ] {
      char request[ 4 ];
      int probe = accept( listener, nullptr, nullptr );
      recv( probe, request, sizeof request, MSG_WAITALL );
      send( probe, "\0\0\0", 4, 0 );
   } );
   Outcome outcome = status();
   service.join();
   EXPECT_EQ( outcome.status, 1 );
   auto found = problems( outcome.output );
   ASSERT_GT( found.size(), 2u );
   EXPECT_EQ( found[ 0 ],
              "inlet: failed: SMBus service at " + socket() + ": no answer within 300 ms" );
   EXPECT_EQ( found[ 1 ], "intake-duct: failed: no SMBus service answers any more at " + socket() );
}

}  // namespace
}  // namespace Tests
