#include <gmock/gmock.h>

#include "Tests/endtoend/Process.h"

using testing::HasSubstr;
using testing::StartsWith;

namespace Tests {
namespace {

const std::string kBoards = LUMEN_SOURCE_DIR "/Boards/";

// A command on the demo board, with its own emulated chips.
Outcome demo( std::vector< std::string > command ) {
   command.insert( command.begin(), { "--board", kBoards + "demo", "--emulate" } );
   return lumen( command );
}

struct Row {
   std::vector< std::string > command;
   int status;
   std::string output;  // all of it
   std::string errors;  // a part
};

void expectOutcome( const Row& row, const Outcome& outcome ) {
   EXPECT_EQ( outcome.status, row.status ) << outcome.errors;
   EXPECT_EQ( outcome.output, row.output );
   EXPECT_THAT( outcome.errors, HasSubstr( row.errors ) );
}

TEST( Commands, AnswerOnTheDemoBoard ) {
   for ( const Row& row : std::initializer_list< Row >{
            { { "get", "intake-duct" }, 0, "-7.25 C\n", "" },
            { { "get", "nowhere" }, 2, "", "no object \"nowhere\"; it has chassis, inlet" },
            { { "get", "\x1b[31m" }, 2, "", "\" [31m\"" },
            { { "set", "module-reset", "0" }, 0, "0\n", "" },
            { { "set", "module-reset", "1" }, 0, "1\n", "" },
            { { "set", "module-reset", "2" }, 2, "", "a GPIO cannot be set to \"2\"; give 0 or 1" },
            { { "set", "inlet", "20" }, 2, "", "only an led, fan or gpio" },
            { { "watch", "--set", "x" }, 2, "", "--set x: give NAME=VALUE" },
            { { "smbus", "eeprom1", "i2c-read", "0", "6" },
              0,
              "0x70 0x6f 0x72 0x74 0x20 0x31\n",
              "" },
            { { "smbus", "eeprom2", "read-byte", "5" }, 0, "0x32\n", "" },
            { { "smbus", "eeprom1", "read-word", "4" }, 0, "0x3120\n", "" },
            { { "smbus", "eeprom1", "receive-byte" }, 0, "0x70\n", "" },
            { { "smbus", "eeprom1", "i2c-write", "0x10", "1", "2" }, 0, "", "" },
            { { "--json", "smbus", "eeprom1", "write-byte", "0x10", "0xaa" },
              0,
              "{\n  \"board\": \"" + kBoards +
                 "demo\",\n  \"object\": \"eeprom1\",\n  "
                 "\"operation\": \"write-byte\",\n  \"answer\": \"\",\n  \"ok\": true\n}\n",
              "" },
            { { "smbus", "eeprom1", "write-byte", "0", "0x100" },
              2,
              "",
              "no number from 0 to 255" },
            { { "smbus", "eeprom1", "i2c-read", "0", "0" }, 2, "", "LENGTH must be at least 1" },
            { { "smbus", "eeprom1", "read-byte" }, 2, "", "use: smbus NAME read-byte REG" },
            { { "smbus", "eeprom1", "peek" }, 2, "", "no SMBus operation \"peek\"" },
            { { "smbus", "inlet", "read-byte", "0" }, 2, "", "needs an object of kind smbus" } } ) {
      expectOutcome( row, demo( row.command ) );
   }
}

TEST( Usage, EndsWithStatusTwo ) {
   const std::string minimal = kBoards + "minimal";
   for ( const Row& row : std::initializer_list< Row >{
            { {}, 2, "", "--board is required" },
            { { "--board", minimal }, 2, "", "subcommand is required" },
            { { "--board", minimal, "get" }, 2, "", "NAME is required" },
            { { "--board", minimal, "watch", "--interval", "nan" }, 2, "", "nan is not in range" },
            { { "--board", minimal, "--emulate", "--socket", "x", "status" }, 2, "", "excludes" },
            { { "--board", "/none", "--emulate", "status" }, 2, "", "/none: no such board folder" },
            { { "--board", minimal, "--emulate", "--library", "/none.so", "status" },
              2,
              "",
              "cannot load the driver library: /none.so" },
            { { "--board", minimal, "--emulate", "--library", "libm.so.6", "status" },
              2,
              "",
              "libm.so.6 is no driver library: it has no pl_system_init" } } ) {
      expectOutcome( row, lumen( row.command ) );
   }
}

TEST( Output, ThatIsLostIsNoSuccess ) {
   const std::string program = "exec timeout 20 " LUMEN_BIN_DIR "/lumen --board " + kBoards;
   for ( const char* command :
         { "status", "--json status", "watch --interval 0.05", "check", "--help" } ) {
      for ( const char* errors : { "", " 2>&1" } ) {
         Outcome outcome = Process( "/bin/sh", { "-c", program + "minimal --emulate " + command +
                                                          " > /dev/full" + errors } )
                              .wait();
         EXPECT_EQ( outcome.status, 1 ) << command << errors;
         EXPECT_THAT( outcome.errors, HasSubstr( *errors ? "" : "the output is lost" ) ) << command;
      }
   }
}

TEST( Watch, SetsFirst ) {
   Outcome outcome =
      demo( { "watch", "--set", "module-reset=1", "--count", "2", "--interval", "0.05" } );
   EXPECT_EQ( outcome.status, 0 ) << outcome.errors;
   EXPECT_THAT( outcome.output,
                testing::ContainsRegex( "module-reset +gpio +1 (.|\n)*\n\nobject" ) );
}

TEST( Watch, EndsOnAnInterrupt ) {
   Process watch( "lumen",
                  { "--board", kBoards + "minimal", "--emulate", "watch", "--interval", "30" } );
   watch.awaitOutput();
   Outcome outcome = watch.end( SIGINT );
   EXPECT_EQ( outcome.status, 0 ) << outcome.errors;
   EXPECT_THAT( outcome.output, StartsWith( "object" ) );
}

}  // namespace
}  // namespace Tests
