#include <gmock/gmock.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <filesystem>
#include <thread>

#include "Tests/endtoend/Process.h"
#include "Utils/Json.h"

using testing::HasSubstr;
using testing::StartsWith;

namespace Tests {
namespace {

const std::string kBoards = LUMEN_SOURCE_DIR "/Boards/";

Outcome lumen( const std::vector< std::string >& arguments ) {
   return Process( "lumen", arguments ).wait();
}

Utils::Json::Document parse( const std::string& text ) {
   Utils::Json::Document document;
   EXPECT_FALSE( Utils::Json::parse( text.c_str(), document ) ) << text;
   return document;
}

// A copy of a board whose documents a test may change.
class BoardCopy {
 public:
   explicit BoardCopy( const std::string& board ) {
      std::filesystem::copy( kBoards + board, directory_.path() );
   }

   std::string path() const { return directory_.path(); }
   std::string read( const char* file ) const {
      std::ifstream stream( directory_.path() / file );
      return { std::istreambuf_iterator< char >( stream ), {} };
   }
   void write( const char* file, const std::string& text ) const {
      std::ofstream( directory_.path() / file ) << text;
   }

 private:
   TemporaryDirectory directory_;
};

std::string stateOf( const Utils::Json::Document& document, const std::string& name ) {
   for ( const auto& object : document[ "objects" ].GetArray() ) {
      if ( object[ "name" ] == name.c_str() ) {
         return object[ "state" ].GetString();
      }
   }
   return "";
}

size_t countOf( const Utils::Json::Document& document, const std::string& state ) {
   size_t count = 0;
   for ( const auto& object : document[ "objects" ].GetArray() ) {
      count += object[ "state" ] == state.c_str();
   }
   return count;
}

TEST( StatusTest, ReadsTheWholeDemoBoard ) {
   Outcome outcome = lumen( { "--board", kBoards + "demo", "--emulate", "--json", "status" } );
   EXPECT_EQ( outcome.status, 0 ) << outcome.output;
   EXPECT_EQ( outcome.errors, "" );
   auto document = parse( outcome.output );
   EXPECT_TRUE( document[ "ok" ].GetBool() );
   EXPECT_GE( document[ "objects" ].Size(), 10u );
   EXPECT_EQ( countOf( document, "ok" ), document[ "objects" ].Size() );
   EXPECT_THAT( outcome.output, HasSubstr( "\"reading\": -7.25," ) );
}

TEST( StatusTest, PrintsATable ) {
   Outcome outcome = lumen( { "--board", kBoards + "minimal", "--emulate", "status" } );
   EXPECT_EQ( outcome.status, 0 );
   EXPECT_EQ( outcome.output,
              "object  kind         reading  unit   limits  state\n"
              "board   temp_sensor     31.5  C     70 / 80  ok\n" );
}

TEST( StatusTest, FailsNothingButTheChipThatDoesNotAnswer ) {
   BoardCopy board( "demo" );
   std::string chips = board.read( "emulation.json" );
   const std::string chip = "\"did\": 110,";
   ASSERT_NE( chips.find( chip ), std::string::npos );
   chips.replace( chips.find( chip ), chip.size(), chip + " \"unplugged\": true," );
   board.write( "emulation.json", chips );
   Outcome outcome = lumen( { "--board", board.path(), "--emulate", "--json", "status" } );
   EXPECT_EQ( outcome.status, 1 );
   auto document = parse( outcome.output );
   EXPECT_EQ( stateOf( document, "asic-left" ), "failed" );
   EXPECT_EQ( countOf( document, "ok" ), document[ "objects" ].Size() - 1 );
   EXPECT_THAT( outcome.output, HasSubstr( "no acknowledge" ) );
   EXPECT_THAT( outcome.output, HasSubstr( "Drivers/TMP75.cpp" ) );
}

TEST( StatusTest, TellsWhichRequestFailed ) {
   BoardCopy board( "minimal" );
   board.write( "emulation.json", R"({ "chips": [ { "did": 1,
      "faults": [ { "kind": "nak", "count": 9, "skip": 1 } ] } ] })" );
   Outcome outcome = lumen( { "--board", board.path(), "--emulate", "status" } );
   EXPECT_EQ( outcome.status, 1 );
   EXPECT_THAT( outcome.output,
                HasSubstr( "failed: service failure: request 1 of 1: read 2 bytes" ) );
}

TEST( StatusTest, ComparesWithTheLimits ) {
   BoardCopy board( "minimal" );
   for ( auto [ celsius, state ] : { std::pair( "70", "alert" ), { "80", "critical" } } ) {
      board.write( "emulation.json", std::string( R"({ "chips": [ { "did": 1, "set": )" ) +
                                        "{ \"temperature\": " + celsius + " } } ] }" );
      Outcome outcome = lumen( { "--board", board.path(), "--emulate", "--json", "status" } );
      EXPECT_EQ( outcome.status, 1 );
      EXPECT_EQ( stateOf( parse( outcome.output ), "board" ), state );
   }
}

TEST( StatusTest, PrintsTracesOnRequestOnly ) {
   Outcome outcome =
      lumen( { "--board", kBoards + "minimal", "--emulate", "--trace", "0", "status" } );
   EXPECT_THAT( outcome.errors, HasSubstr( "TMP75 device created\n" ) );
   EXPECT_THAT( outcome.errors, testing::Not( HasSubstr( "getTemperatureCallback" ) ) );
   EXPECT_THAT( outcome.output, StartsWith( "object" ) );
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

TEST( UsageTest, EndsWithStatusTwo ) {
   for ( const std::vector< std::string >& arguments : {
            std::vector< std::string >{},
            { "status" },
            { "--board", kBoards + "minimal" },
            { "--board", kBoards + "minimal", "unknown" },
            { "--board", kBoards + "minimal", "--emulate", "--socket", "x", "status" },
            { "--board", kBoards + "none", "--emulate", "status" },
            { "--board", kBoards + "minimal", "--emulate", "--library", "/none.so", "status" },
         } ) {
      Outcome outcome = lumen( arguments );
      EXPECT_EQ( outcome.status, 2 );
      EXPECT_NE( outcome.errors, "" );
      EXPECT_EQ( outcome.output, "" );
   }
   EXPECT_EQ( lumen( { "--help" } ).status, 0 );
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
   EXPECT_FALSE( parse( outcome.output )[ "ok" ].GetBool() );
}

TEST_F( ServiceTest, ServesOneHostAfterAnother ) {
   Process service( "lumen-smbusd", { "--emulate", kBoards + "demo", "--socket", socket() } );
   while ( service.text( "out" ).empty() ) {
      usleep( 10'000 );
   }
   EXPECT_EQ( status().status, 0 );
   EXPECT_EQ( status().status, 0 );
   service.end( SIGTERM );
   EXPECT_EQ( status().status, 2 );
}

TEST_F( ServiceTest, IsMissedSoonWhenItHangs ) {
   Process service( "lumen-smbusd", { "--emulate", kBoards + "demo", "--socket", socket() } );
   while ( service.text( "out" ).empty() ) {
      usleep( 10'000 );
   }
   service.signal( SIGSTOP );
   EXPECT_THAT( status().errors, HasSubstr( "no SMBus service answers at " + socket() ) );
   service.signal( SIGCONT );
   EXPECT_EQ( status().status, 0 );
}

// A service that answers the program, which looks whether it is there, but not the library.
class FailingServiceTest : public ServiceTest, public testing::WithParamInterface< bool > {
 protected:
   FailingServiceTest() {
      sockaddr_un address{};
      address.sun_family = AF_UNIX;
      socket().copy( address.sun_path, sizeof address.sun_path - 1 );
      bind( listener_, reinterpret_cast< sockaddr* >( &address ), sizeof address );
      listen( listener_, 8 );
   }

   void serve() {
      char request[ 4 ];
      int probe = accept( listener_, nullptr, nullptr );
      recv( probe, request, sizeof request, MSG_WAITALL );
      send( probe, "\0\0\0", 4, 0 );
      connection_ = accept( listener_, nullptr, nullptr );
      recv( connection_, request, 1, 0 );
      close( probe );
   }

   void die() {
      close( listener_ );
      close( connection_ );
   }

   int listener_ = ::socket( AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0 );
   int connection_ = -1;
};

TEST_P( FailingServiceTest, StopsTheProgramWithoutBlamingTheChips ) {
   bool hangs = GetParam();
   setenv( "PL_SMBUS_TIMEOUT_MS", "300", 1 );
   std::thread service( [ & ] {
      serve();
      if ( !hangs ) {
         die();
      }
   } );
   Outcome outcome = status();
   service.join();
   if ( hangs ) {
      die();
   }
   EXPECT_EQ( outcome.status, 1 );
   auto document = parse( outcome.output );
   EXPECT_EQ( stateOf( document, "inlet" ), "failed" );
   EXPECT_EQ( stateOf( document, "optics-right" ), "failed" );
   EXPECT_THAT( outcome.output, HasSubstr( "no SMBus service answers any more at " + socket() ) );
}

INSTANTIATE_TEST_SUITE_P( DiesOrHangs, FailingServiceTest, testing::Bool() );

}  // namespace
}  // namespace Tests
