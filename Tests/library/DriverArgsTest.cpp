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
   EXPECT_THAT( parsed( R"( "driver": "", "driverArgs":
                   { "bus": 3, "name": "x", "on": true, "f": 2.5, "n": null } )" )
                   .driverArgs,
                ElementsAre( Pair( "bus", "3" ), Pair( "f", "2.5" ), Pair( "name", "x" ),
                             Pair( "on", "true" ) ) );
   const std::pair< const char*, const char* > rows[] = {
      { "-7", "-7" },
      { "3000000000", "3000000000" },
      { "5000000000", "" },
      { "-3000000000", "" },
      { "1e20", "1e+20" },
      { "10000000.0", "1e+07" },
      { "1.5", "1.5" },
      { "0.123456789", "0.123457" },
      { "100000.0", "100000" },
      { "false", "false" },
      { "{}", "" },
      { "[ 1 ]", "" },
      { R"("a\u0062")", "ab" },
   };
   setlocale( LC_ALL, "" );
   for ( const auto& [ json, text ] : rows ) {
      auto map =
         parsed( std::string( R"( "driver": "", "driverArgs": { "k": 0, "k": )" ) + json + " }" )
            .driverArgs;
      EXPECT_THAT( map, ElementsAre( Pair( "k", text ) ) ) << json;
   }
}

TEST( DriverArgs, ReportsMalformedTextWithItsOffset ) {
   const std::tuple< const char*, const char*, int > rows[] = {
      { "", "The document is empty.", 0 },
      { " \t\r\n", "The document is empty.", 4 },
      { "{} x", "The document root must not be followed by other values.", 3 },
      { "{ 1 }", "Missing a name for object member.", 2 },
      { R"({ "a" 1 })", "Missing a colon after a name of object member.", 6 },
      { R"({ "a": 1e })", "Miss exponent in number.", 9 },
   };
   for ( const auto& [ text, message, offset ] : rows ) {
      Tests::TraceLog traces;
      Drivers::DriverArgs args;
      EXPECT_FALSE( args.parseJSON( text ) );
      EXPECT_THAT( traces.lines,
                   ElementsAre( "0 failed to load device from json: " + std::string( message ) +
                                " offset " + std::to_string( offset ) ) );
   }
}

TEST( DriverArgsDeathTest, RefusesDocumentsOfTheWrongShape ) {
   const std::pair< const char*, const char* > rows[] = {
      { R"( { "driver": "x", "address": { "address": 1 } } )", R"(json\.HasMember\( "did" \))" },
      { R"( { "did": 1, "address": { "address": 1 } } )", R"(json\.HasMember\( "driver" \))" },
      { R"( { "did": 1, "driver": "x" } )", R"(json\.HasMember\( "address" \))" },
      { R"( { "did": 1, "driver": "x", "isMultiDevice": true } )",
        R"(json\.HasMember\( "multiDeviceArgs" \))" },
      { R"( { "did": "1", "driver": "x", "address": { "address": 1 } } )", "kUintFlag" },
      { R"( { "did": 1, "driver": 2, "address": { "address": 1 } } )", "IsString" },
      { R"( { "did": 1, "driver": "x", "address": { "address": 1 }, "provideHam": true } )",
        "kUintFlag" },
      { R"( { "did": 1, "driver": "x", "isMultiDevice": 1 } )", "IsBool" },
      { R"( { "did": 1, "driver": "x", "isMultiDevice": true, "multiDeviceArgs": { "a": 1 } } )",
        "IsString" },
      { "[]", R"(json\.IsObject\(\))" },
   };
   for ( const auto& [ document, condition ] : rows ) {
      Drivers::DriverArgs args;
      EXPECT_DEATH( args.parseJSON( document ), condition ) << document;
   }
   Drivers::DriverArgs args;
   EXPECT_DEATH( args.parseJSON( "{}" ),
                 "Drivers/Drivers.cpp:[0-9]+: void "
                 "Drivers::DriverArgs::parseJSON\\(const Value&\\): " );
}

}  // namespace
