#include <gmock/gmock.h>

#include <clocale>

#include "Drivers/Drivers.h"
#include "Tests/support/TraceLog.h"

using ::testing::ElementsAre;
using ::testing::Pair;

namespace {

Drivers::DriverArgs parsed( const std::string& members ) {
   Drivers::DriverArgs args;
   std::string text = R"( { "did": 5, "address": { "address": 72 }, )" + members + " }";
   EXPECT_TRUE( args.parseJSON( text.c_str() ) ) << text;
   return args;
}

TEST( DriverArgs, ReadsTheRecordAndItsDefaults ) {
   Drivers::DriverArgs args = parsed( R"( "driver": "TMP75" )" );
   EXPECT_EQ( args.driver, "TMP75" );
   EXPECT_EQ( args.did, 5u );
   EXPECT_EQ( args.uid, 0xFFFFFFFFu );
   EXPECT_EQ( args.address.word(), 0x02000048u );
   EXPECT_TRUE( args.provideHam );
   EXPECT_FALSE( args.isMultiDevice );
   EXPECT_TRUE( args.driverArgs.empty() );

   args = parsed( R"( "driver": null, "uid": 9, "provideHam": 0, "driverArgs": null )" );
   EXPECT_EQ( args.driver, "" );
   EXPECT_EQ( args.uid, 9u );
   EXPECT_FALSE( args.provideHam );
   EXPECT_TRUE( parsed( R"( "driver": "x", "provideHam": 7 )" ).provideHam );

   const char* multi = R"( { "did": 1, "driver": "m", "isMultiDevice": true,
      "multiDeviceArgs": { "left": "{}", "right": "[]" }, "address": 3 } )";
   Drivers::DriverArgs several;
   ASSERT_TRUE( several.parseJSON( multi ) );
   EXPECT_EQ( several.jsonText, multi );
   EXPECT_THAT( several.multiDeviceArgs,
                ElementsAre( Pair( "left", "{}" ), Pair( "right", "[]" ) ) );
}

TEST( DriverArgs, HoldsEveryArgumentAsText ) {
   setlocale( LC_ALL, "" );
   auto text = parsed( R"( "driver": "", "driverArgs": { "null": null,
      "a": -7, "b": 3000000000, "c": 5000000000, "d": -3000000000, "e": 1e20, "f": 10000000.0,
      "g": 2.5, "h": 0.123456789, "i": false, "j": true, "k": {}, "l": [ 1 ], "m": "a\u0062",
      "twice": 1, "twice": 2 } )" )
                  .driverArgs;
   EXPECT_THAT( text, ElementsAre( Pair( "a", "-7" ), Pair( "b", "3000000000" ), Pair( "c", "" ),
                                   Pair( "d", "" ), Pair( "e", "1e+20" ), Pair( "f", "1e+07" ),
                                   Pair( "g", "2.5" ), Pair( "h", "0.123457" ),
                                   Pair( "i", "false" ), Pair( "j", "true" ), Pair( "k", "" ),
                                   Pair( "l", "" ), Pair( "m", "ab" ), Pair( "twice", "2" ) ) );
}

TEST( DriverArgs, ReportsMalformedTextWithItsOffset ) {
   for ( const auto& [ text, failure ] : std::map< std::string, std::string >{
            { " \t\r\n", "The document is empty. offset 4" },
            { "{} x", "The document root must not be followed by other values. offset 3" } } ) {
      Tests::TraceLog traces;
      EXPECT_FALSE( Drivers::DriverArgs().parseJSON( text.c_str() ) );
      EXPECT_THAT( traces.lines, ElementsAre( "0 failed to load device from json: " + failure ) );
   }
}

TEST( DriverArgsDeathTest, RefusesDocumentsOfTheWrongShape ) {
   const std::pair< std::string, const char* > rows[] = {
      { "[]", R"(json\.IsObject\(\))" },
      { R"({"driver":"x"})", R"(json\.HasMember\( "did" \))" },
      { R"({"did":1})", R"(json\.HasMember\( "driver" \))" },
      { R"({"did":1,"driver":"x"})", R"(json\.HasMember\( "address" \))" },
      { R"({"did":1,"driver":"x","isMultiDevice":1})", "IsBool" },
      { R"({"did":1,"driver":"x","isMultiDevice":true})",
        R"(json\.HasMember\( "multiDeviceArgs" \))" },
      { R"({"did":1,"driver":"x","isMultiDevice":true,"multiDeviceArgs":{"a":1}})", "IsString" },
      { R"({"did":"1","driver":"x","address":{"address":1}})", "kUintFlag" },
      { R"({"did":1,"driver":2,"address":{"address":1}})", "IsString" },
      { R"({"did":1,"driver":"x","address":{"address":1},"provideHam":true})", "kUintFlag" },
      { "{}",
        "Drivers/Drivers.cpp:[0-9]+: void "
        "Drivers::DriverArgs::parseJSON\\(const Value&\\): " },
   };
   for ( const auto& [ document, condition ] : rows ) {
      Drivers::DriverArgs args;
      EXPECT_DEATH( args.parseJSON( document.c_str() ), condition ) << document;
   }
}

}  // namespace
