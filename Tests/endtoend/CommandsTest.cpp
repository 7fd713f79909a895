#include <fmt/format.h>
#include <gmock/gmock.h>

#include "BoardFiles/Schema.h"
#include "Tests/endtoend/Process.h"
#include "Utils/Json.h"

using testing::HasSubstr;
using testing::StartsWith;

namespace Tests {
namespace {

const std::string kDemo = "--board Boards/demo --emulate ";
const std::string kMinimal = "--board Boards/minimal --emulate ";

TEST( Commands, PrintWhatIsAsked ) {
   const std::pair< std::string, const char* > rows[] = {
      { kMinimal + "status",
        "object  kind         reading  unit   limits  state\n"
        "board   temp_sensor     31.5  C     70 / 80  ok\n"
        "\n1 object: 1 ok\n" },
      { kDemo + "get 'asic-?o*' inlet",
        "inlet: 23.5 C\nasic-monitor: 31.5 C\nasic-core: 68.0625 C\n" },
      { kDemo + "get intake-duct", "-7.25 C\n" },
      { kDemo + "set module-reset 0", "0\n" },
      { kDemo + "set module-reset 1", "1\n" },
      { kDemo + "smbus eeprom1 i2c-read 0 6", "0x70 0x6f 0x72 0x74 0x20 0x31\n" },
      { kDemo + "smbus eeprom2 read-byte 5", "0x32\n" },
      { kDemo + "smbus eeprom1 read-word 4", "0x3120\n" },
      { kDemo + "smbus eeprom1 receive-byte", "0x70\n" },
      { kDemo + "smbus optics-left read-word 0", "0x0029\n" },
      { kDemo + "smbus 'fpga3<0x70>' receive-byte", "0x00\n" },
      { kDemo + "smbus optics read-byte 0", "0x00\n" },
      { kDemo + "smbus eeprom1 i2c-write 0x10 1 2 --yes", "" },
   };
   for ( const auto& [ command, output ] : rows ) {
      Outcome outcome = lumen( command );
      EXPECT_EQ( outcome.status, 0 ) << outcome.errors;
      EXPECT_EQ( outcome.output, output ) << command;
   }
}

TEST( Commands, RefuseWhatCannotBeWithStatusTwo ) {
   const std::pair< std::string, const char* > rows[] = {
      { kDemo + "get nowhere", "no object \"nowhere\"; it has 63: lumen status shows them\n" },
      { kDemo + "get inlt", "no object \"inlt\"; did you mean \"inlet\"?\n" },
      { kDemo + "status inlet 'x*'", "no object \"x*\"; it has 63" },
      { kMinimal + "show x", "no object \"x\"; it has board\n" },
      { kMinimal + "statsu", "unknown command \"statsu\"; did you mean \"status\"?" },
      { kMinimal + "emu lsit", "unknown command \"lsit\"; did you mean \"list\"?" },
      { kMinimal + "status --sort nam",
        "not sorted by \"nam\"; there are state, name, kind, reading; did you mean \"name\"?" },
      { kMinimal + "watch --intrval=1",
        "unknown option \"--intrval\"; did you mean \"--interval\"?" },
      { kMinimal + "check board", "\"board\" is one argument too many" },
      { kDemo + "get '\x1b[31m'", "\" [31m\"" },
      { kDemo + "set module-reset 2", "a GPIO cannot be set to \"2\"; give 0 or 1" },
      { kDemo + "set inlet 20", "only an led, fan, gpio or poe_port" },
      { kDemo + "watch --set x", "--set x: give NAME=VALUE" },
      { kDemo + "smbus eeprom1 write-byte 0 0x100", "no number from 0 to 255" },
      { kDemo + "smbus eeprom1 i2c-read 0 0", "LENGTH must be at least 1" },
      { kDemo + "smbus eeprom1 read-byte", "use: smbus NAME read-byte REG" },
      { kDemo + "smbus eeprom1 reed-byte", "i2c-write; did you mean \"read-byte\"?" },
      { kDemo + "smbus scd0 read-byte 0", "several devices: scd0<0x1a>, scd0<0x48>, scd0<0x49>" },
      { kDemo + "smbus chassis read-byte 0", "is a system, which has no chip" },
      { kDemo + "smbus eeprom1 process-call 0 0 </dev/null", "nobody can be asked, give --yes" },
      { kDemo + "scan optic", "no bus \"optic\"; it has scd0, scd1" },
      { "", "--board is required" },
      { kMinimal, "subcommand is required" },
      { kMinimal + "get", "NAME is required" },
      { kMinimal + "watch --interval nan", "nan is not from 0.05 to 3600 seconds" },
      { kMinimal + "--socket x status", "excludes" },
      { "--board /none --emulate status", "/none: no such board folder" },
      { kMinimal + "--library /none.so status", "cannot load the driver library: /none.so" },
      { kMinimal + "--library libm.so.6 status",
        "libm.so.6 is no driver library: it has no pl_system_init" },
   };
   for ( const auto& [ command, errors ] : rows ) {
      Outcome outcome = lumen( command );
      EXPECT_EQ( outcome.status, 2 ) << command;
      EXPECT_EQ( outcome.output, "" ) << command;
      EXPECT_THAT( outcome.errors, HasSubstr( errors ) );
   }
}

TEST( Commands, TellWhenASettingDoesNotShow ) {
   Outcome input = lumen( kDemo + "set module-present 1" );
   EXPECT_EQ( input.status, 1 );
   EXPECT_EQ( input.output, "0\n" );
   EXPECT_EQ( input.errors, "lumen: module-present: set to 1, but reads 0\n" );
   Outcome rotor = lumen( kDemo + "set fan1 0%" );
   EXPECT_EQ( rotor.status, 0 );
   EXPECT_EQ( rotor.errors, "lumen: fan1: set to 3000 rpm; it may still be changing speed\n" );
}

TEST( Commands, RefuseAnEmulatorBesideASimulation ) {
   Outcome outcome = Process( "env SIMULATION_VMID=1 lumen " + kMinimal + "status" ).wait();
   EXPECT_EQ( outcome.status, 2 );
   EXPECT_THAT( outcome.errors, HasSubstr( "leave out --emulate" ) );
}

TEST( Commands, SayThatASimulationTouchesNoChip ) {
   TemporaryDirectory files;
   Outcome outcome = Process( "env SIMULATION_VMID=1 LUMENLIB_SIMDIR=" + files.path().string() +
                              " lumen --json --board Boards/minimal status" )
                        .wait();
   EXPECT_EQ( outcome.status, 0 );
   EXPECT_EQ( outcome.errors, "lumen: simulation: no chip is touched\n" );
   EXPECT_THAT( outcome.output, HasSubstr( R"("simulation": true)" ) );
}

// Whatever fails.
TEST( Commands, PrintJsonAsTheSchemaSays ) {
   const std::string schemas = LUMEN_SOURCE_DIR "/Boards/schemas/";
   std::string text = textOf( schemas + "output.schema.json" );
   const std::pair< const char*, std::string > rows[] = {
      { "status", kDemo + "status" },
      { "status", kDemo + "get fan1" },
      { "error", "--board Boards/demo --socket /none status" },
      { "set", kDemo + "set module-present 1" },
      { "set", kDemo + "set fan1-led good" },
      { "show", kDemo + "show '*'" },
      { "smbus", kDemo + "smbus eeprom1 read-word 4" },
      { "smbus", kDemo + "smbus fan1 send-byte 1" },
      { "smbus", kDemo + "smbus eeprom1 write-byte 0 1 --yes" },
      { "poe", kDemo + "poe" },
      { "poePort", kDemo + "poe poe1" },
      { "poeFirmware", kDemo + "poe firmware --yes" },
      { "scan", kDemo + "scan optics" },
      { "findings", kDemo + "check" },
      { "error", kDemo + "get nowhere" },
      { "error", kDemo + "get" },
      { "error", "status" },
   };
   for ( const auto& [ definition, command ] : rows ) {
      BoardFiles::Schema schema(
         fmt::format( R"({{ "$ref": "output.schema.json#/definitions/{}" }})", definition ).c_str(),
         { { "output.schema.json", text.c_str() } } );
      std::string output = lumen( "--json " + command ).output;
      Utils::Json::Document document;
      ASSERT_FALSE( Utils::Json::parse( output.c_str(), document ) ) << command << output;
      for ( const auto& [ pointer, problem ] : schema.validate( document ) ) {
         ADD_FAILURE() << command << ": " << pointer << ": " << problem;
      }
   }
}

TEST( TraceWire, NamesEachTransferOfTheWorkers ) {
   Outcome outcome = lumen( kDemo + "--trace-wire smbus optics read-byte 0" );
   EXPECT_EQ( outcome.output, "0x00\n" );
   EXPECT_THAT( outcome.errors,
                testing::MatchesRegex(
                   "[0-9:.]+ fpga3 PCA9548 0x70 send byte 0x01: ok .1 of 3, [0-9.]+ ms.\n"
                   "[0-9:.]+ fpga3 0x70:0x01 Max7356 0x71 read 1 byte, register 0x00: 00 .*\n"
                   "[0-9:.]+ fpga3 0x70:0x01 PCA9548 0x70 send byte 0x00: ok .*\n" ) );
}

TEST( Output, ThatIsLostIsNoSuccess ) {
   for ( const char* command :
         { "status", "--json status", "watch --interval 0.05", "check", "--help" } ) {
      for ( const char* errors : { "", " 2>&1" } ) {
         Outcome outcome =
            Process( "timeout 20 lumen " + kMinimal + command + " >/dev/full" + errors ).wait();
         EXPECT_EQ( outcome.status, 1 ) << command << errors;
         EXPECT_THAT( outcome.errors, HasSubstr( *errors ? "" : "the output is lost" ) ) << command;
      }
   }
}

TEST( Watch, SetsFirst ) {
   Outcome outcome = lumen( kDemo + "watch --set module-reset=1 --count 2 --interval 0.05" );
   EXPECT_EQ( outcome.status, 0 ) << outcome.errors;
   EXPECT_THAT( outcome.output,
                testing::ContainsRegex( "module-reset +gpio +1 (.|\n)*\n\nobject" ) );
}

TEST( Watch, EndsOnAnInterrupt ) {
   Process watch( "lumen " + kMinimal + "watch --interval 30" );
   watch.awaitOutput();
   Outcome outcome = watch.end( SIGINT );
   EXPECT_EQ( outcome.status, 0 ) << outcome.errors;
   EXPECT_THAT( outcome.output, StartsWith( "object" ) );
}

}  // namespace
}  // namespace Tests
