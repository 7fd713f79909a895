#include <gmock/gmock.h>

#include <thread>

#include "Tests/endtoend/Process.h"

using testing::HasSubstr;
using testing::StartsWith;

namespace Tests {
namespace {

// A command on the demo board, with its own emulated chips.
Outcome demo( std::vector< std::string > command ) {
   command.insert( command.begin(), { "--board", LUMEN_SOURCE_DIR "/Boards/demo", "--emulate" } );
   return Process( "lumen", command ).wait();
}

struct Row {
   std::vector< std::string > command;
   int status;
   std::string output;  // all of it
   std::string errors;  // a part
};

class Commands : public testing::TestWithParam< Row > {};

TEST_P( Commands, AnswerOnTheDemoBoard ) {
   Outcome outcome = demo( GetParam().command );
   EXPECT_EQ( outcome.status, GetParam().status ) << outcome.errors;
   EXPECT_EQ( outcome.output, GetParam().output );
   EXPECT_THAT( outcome.errors, HasSubstr( GetParam().errors ) );
}

INSTANTIATE_TEST_SUITE_P( Get,
                          Commands,
                          testing::Values( Row{ { "get", "intake-duct" }, 0, "-7.25 C\n", "" },
                                           Row{ { "get", "module-present" }, 0, "0\n", "" },
                                           Row{ { "get", "nowhere" },
                                                2,
                                                "",
                                                "no object \"nowhere\"; it has chassis, inlet" },
                                           Row{ { "get", "" }, 2, "", "no object \"\"" },
                                           Row{ { "get", "\x1b[31m" }, 2, "", "\" [31m\"" },
                                           Row{ { "get" }, 2, "", "NAME is required" } ) );

INSTANTIATE_TEST_SUITE_P(
   Set,
   Commands,
   testing::Values( Row{ { "set", "module-reset", "0" }, 0, "0\n", "" },
                    Row{ { "set", "module-reset", "1" }, 0, "1\n", "" },
                    Row{ { "set", "module-reset", "2" }, 2, "", "give 0 or 1" },
                    Row{ { "set", "inlet", "20" }, 2, "", "only an led, fan or gpio" },
                    Row{ { "watch", "--interval", "nan" }, 2, "", "nan is not in range" } ) );

INSTANTIATE_TEST_SUITE_P(
   Smbus,
   Commands,
   testing::Values(
      Row{ { "smbus", "eeprom1", "i2c-read", "0x00", "6" },
           0,
           "0x70 0x6f 0x72 0x74 0x20 0x31\n",
           "" },
      Row{ { "smbus", "eeprom2", "read-byte", "5" }, 0, "0x32\n", "" },
      Row{ { "smbus", "eeprom1", "read-word", "4" }, 0, "0x3120\n", "" },
      Row{ { "smbus", "eeprom1", "receive-byte" }, 0, "0x70\n", "" },
      Row{ { "smbus", "eeprom1", "write-byte", "0x10", "0xaa" }, 0, "", "" },
      Row{ { "smbus", "eeprom1", "i2c-write", "0x10", "1", "2" }, 0, "", "" },
      Row{
         { "smbus", "eeprom1", "write-byte", "0x10", "0x100" }, 2, "", "no number from 0 to 255" },
      Row{ { "smbus", "eeprom1", "i2c-read", "0", "0" }, 2, "", "LENGTH must be at least 1" },
      Row{ { "smbus", "eeprom1", "read-byte" }, 2, "", "use: smbus NAME read-byte REG" },
      Row{ { "smbus", "eeprom1", "peek" }, 2, "", "no SMBus operation \"peek\"" },
      Row{ { "smbus", "inlet", "read-byte", "0" }, 2, "", "needs an object of kind smbus" } ) );

TEST( SmbusCommand, AnswersInJsonToo ) {
   Outcome outcome = demo( { "--json", "smbus", "eeprom1", "read-byte", "0" } );
   EXPECT_EQ( outcome.status, 0 );
   EXPECT_THAT( outcome.output, HasSubstr( "\"answer\": \"0x70\"" ) );
}

TEST( Output, ThatIsLostIsNoSuccess ) {
   for ( const char* command : { "status", "--json status", "watch --interval 0.05", "check" } ) {
      Outcome outcome = Process( "/bin/sh", { "-c", "exec timeout 20 " LUMEN_BIN_DIR
                                                    "/lumen --board " LUMEN_SOURCE_DIR
                                                    "/Boards/minimal --emulate " +
                                                       std::string( command ) + " > /dev/full" } )
                           .wait();
      EXPECT_EQ( outcome.status, 1 ) << command;
      EXPECT_THAT( outcome.errors, HasSubstr( "the output is lost" ) ) << command;
   }
}

// An LED on a PCA9555 pin, and the same pin read back.
void writeBlinkingBoard( const TemporaryDirectory& directory ) {
   auto write = [ & ]( const char* file, const char* text ) {
      std::ofstream( directory.path() / file ) << text;
   };
   write( "topology.json", R"( [ { "type": "I2C", "ham": "LumenSmbus", "id": 0, "devices": [
      { "did": 1, "driver": "BlinkingLed", "address": { "address": 33 } } ] } ] )" );
   write( "objects.json", R"( { "objects": [
      { "kind": "led", "name": "beacon",
        "device": { "driver": "BlinkingLed", "did": 1, "address": { "address": 33 } } },
      { "kind": "gpio", "name": "lit",
        "device": { "driver": "BlinkingLed", "did": 1, "address": { "address": 33 },
                    "driverArgs": { "register": 2, "bitpos": 0 } } } ] } )" );
   write( "emulation.json", R"( { "chips": [ { "did": 1, "model": "PCA9555" } ] } )" );
}

TEST( WatchCommand, KeepsTheBlinkTimerRunning ) {
   TemporaryDirectory board;
   writeBlinkingBoard( board );
   Outcome outcome = Process( "lumen", { "--board", board.path(), "--emulate", "--library",
                                         LUMEN_LED_LIBRARY, "watch", "--set", "beacon=beacon",
                                         "--interval", "0.2", "--count", "16" } )
                        .wait();
   EXPECT_EQ( outcome.status, 0 ) << outcome.errors;
   EXPECT_THAT( outcome.output, HasSubstr( "lit     gpio        1" ) );
   EXPECT_THAT( outcome.output, HasSubstr( "lit     gpio        0" ) );
}

TEST( WatchCommand, EndsOnAnInterrupt ) {
   Process watch( "lumen", { "--board", LUMEN_SOURCE_DIR "/Boards/minimal", "--emulate", "watch",
                             "--interval", "30" } );
   while ( watch.text( "out" ).empty() ) {
      std::this_thread::sleep_for( std::chrono::milliseconds( 10 ) );
   }
   watch.signal( SIGINT );
   Outcome outcome = watch.wait();
   EXPECT_EQ( outcome.status, 0 ) << outcome.errors;
   EXPECT_THAT( outcome.output, StartsWith( "object" ) );
}

}  // namespace
}  // namespace Tests
