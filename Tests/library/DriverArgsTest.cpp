#include <fmt/ranges.h>
#include <gmock/gmock.h>

#include <clocale>

#include "Drivers/Drivers.h"
#include "Tests/support/TraceLog.h"

using ::testing::ElementsAre;
using ::testing::HasSubstr;

namespace {

std::string textOf( const Drivers::DriverArgs& args ) {
   return fmt::format( "{} did {} uid {} address {:08x} ham {} several {} {} {}", args.driver,
                       args.did, args.uid, args.address.word(), args.provideHam, args.isMultiDevice,
                       args.driverArgs, args.multiDeviceArgs );
}

TEST( DriverArgs, ReadTheDocumentAndHoldEveryArgumentAsText ) {
   setlocale( LC_ALL, "" );
   const std::pair< const char*, const char* > rows[] = {
      { R"( { "did": 5, "driver": "TMP75", "address": { "address": 72 } } )",
        "TMP75 did 5 uid 4294967295 address 02000048 ham true several false {} {}" },
      { R"( { "did": 5, "driver": null, "uid": 9, "address": { "address": 72 }, "provideHam": 0,
              "driverArgs": null } )",
        " did 5 uid 9 address 02000048 ham false several false {} {}" },
      { R"( { "did": 1, "driver": "m", "isMultiDevice": true, "provideHam": 7, "address": 3,
              "multiDeviceArgs": { "left": "{}", "right": "[]" } } )",
        R"(m did 1 uid 4294967295 address 00000000 ham true several true {} )"
        R"({"left": "{}", "right": "[]"})" },
      { R"( { "did": 1, "driver": "", "address": { "address": 0 }, "driverArgs": { "null": null,
              "a": -7, "b": 3000000000, "c": 5000000000, "d": -3000000000, "e": 1e20,
              "f": 10000000.0, "g": 2.5, "h": 0.123456789, "i": false, "j": true, "k": {},
              "l": [ 1 ], "m": "a\u0062", "twice": 1, "twice": 2 } } )",
        R"( did 1 uid 4294967295 address 02000000 ham true several false {"a": "-7", )"
        R"("b": "3000000000", "c": "", "d": "", "e": "1e+20", "f": "1e+07", "g": "2.5", )"
        R"("h": "0.123457", "i": "false", "j": "true", "k": "", "l": "", "m": "ab", )"
        R"("twice": "2"} {})" },
   };
   for ( const auto& [ document, text ] : rows ) {
      Drivers::DriverArgs args;
      EXPECT_TRUE( args.parseJSON( document ) );
      EXPECT_EQ( args.jsonText, document );
      EXPECT_EQ( textOf( args ), text );
   }
}

TEST( DriverArgs, ReportsMalformedTextWithItsOffset ) {
   Tests::TraceLog traces;
   EXPECT_FALSE( Drivers::DriverArgs().parseJSON( " \t\r\n" ) );
   EXPECT_FALSE( Drivers::DriverArgs().parseJSON( "{} x" ) );
   EXPECT_THAT(
      traces.lines,
      ElementsAre( "0 failed to load device from json: The document is empty. offset 4",
                   "0 failed to load device from json: The document root must not be followed by "
                   "other values. offset 3" ) );
}

TEST( DriverArgsDeathTest, RefusesDocumentsOfTheWrongShape ) {
   const std::pair< const char*, const char* > rows[] = {
      { "{}", R"(json.HasMember( "did" ))" },
      { R"({"did":1})", R"(json.HasMember( "driver" ))" },
      { R"({"did":1,"driver":""})", R"(json.HasMember( "address" ))" },
      { R"({"did":1,"driver":"","isMultiDevice":1})", "IsBool" },
      { R"({"did":1,"driver":"","isMultiDevice":true})", R"(json.HasMember( "multiDeviceArgs" ))" },
      { R"({"did":1,"driver":"","isMultiDevice":true,"multiDeviceArgs":{"a":1}})", "IsString" },
      { R"({"did":"1","driver":"","address":{"address":1}})", "kUintFlag" },
      { R"({"did":1,"driver":2,"address":{"address":1}})", "IsString" },
      { R"({"did":1,"driver":"","address":{"address":1},"provideHam":true})", "kUintFlag" },
   };
   for ( const auto& [ document, condition ] : rows ) {
      EXPECT_DEATH( Drivers::DriverArgs().parseJSON( document ), HasSubstr( condition ) );
   }
   EXPECT_DEATH( Drivers::DriverArgs().parseJSON( "[]" ),
                 "^Drivers/Drivers.cpp:[0-9]+: void "
                 "Drivers::DriverArgs::parseJSON.const Value&.: Assertion `json.IsObject" );
}

}  // namespace
