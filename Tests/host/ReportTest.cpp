#include <gmock/gmock.h>

#include "Host/Output/Report.h"
#include "Utils/Json.h"
#include "Utils/Text.h"

namespace Host {

using namespace BoardFiles;
namespace {

const ObjectSpec kInlet{
   .kind = Kind::TempSensor, .name = "inlet", .device = "", .alert = 75, .critical = 85.5 };
const ObjectSpec kFan{ .kind = Kind::Fan, .name = "fän 1", .device = "" };
const ObjectSpec kLed{ .kind = Kind::Led, .name = "l\x1b[2J\xff", .device = "" };

const std::vector< Row > kRows = {
   { &kInlet, -7.25, State::Alert, "" },
   { &kFan, 12000, State::Ok, "" },
   { &kLed, {}, State::Failed, "the first line\nand \"the second\"" },
};

TEST( TableTest, AlignsColumnsWhateverTheTexts ) {
   EXPECT_EQ( rowsTable( kRows, {} ),
              "object  kind          reading  unit     limits  state\n"
              "l [2J?  led              -                   -  failed: the first line and "
              "\"the second\"\n"
              "inlet   temp_sensor     -7.25  C     75 / 85.5  alert\n"
              "fän 1   fan          12000     rpm           -  ok\n" );
}

TEST( TableTest, WrapsReasonsWithinTheirColumn ) {
   std::string table = rowsTable( kRows, { .colours = false, .width = 70 } );
   EXPECT_THAT( table, testing::HasSubstr( "  failed: the first line\n" + std::string( 48, ' ' ) +
                                           "and \"the second\"\n" ) );
}

TEST( TableTest, ColoursTheTextAndNotThePadding ) {
   std::string table = rowsTable( kRows, { .colours = true, .width = 0 } );
   EXPECT_THAT( table, testing::HasSubstr( "-  \x1b[31mfailed: the first line" ) );
   EXPECT_THAT( table, testing::HasSubstr( "75 / 85.5  \x1b[33malert\x1b[0m\n" ) );
   EXPECT_THAT( rowsTable( kRows, {} ), testing::Not( testing::HasSubstr( "\x1b" ) ) );
}

TEST( JsonReportTest, HoldsEveryRow ) {
   Utils::Json::Document json;
   ASSERT_FALSE( Utils::Json::parse( rowsJson( "Boards/x", kRows ).c_str(), json ) );
   EXPECT_STREQ( json[ "board" ].GetString(), "Boards/x" );
   EXPECT_FALSE( json[ "ok" ].GetBool() );
   ASSERT_EQ( json[ "objects" ].Size(), 3u );

   const auto& inlet = json[ "objects" ][ 0 ];
   EXPECT_EQ( Utils::Json::write( inlet ),
              R"({"name":"inlet","kind":"temp_sensor","reading":-7.25,"unit":"C","alert":75.0,)"
              R"("critical":85.5,"state":"alert","reason":null})" );
   const auto& led = json[ "objects" ][ 2 ];
   EXPECT_EQ( Utils::Json::write( led ),
              R"({"name":"l [2J?","kind":"led","reading":null,"unit":"","alert":null,)"
              R"("critical":null,"state":"failed","reason":"the first line and \"the second\""})" );
}

TEST( JsonReportTest, KeepsItsShapeWhateverFailed ) {
   for ( const std::string& text : { findingsJson( "b", { { "f.json", "/0", "must be \"x\"" } } ),
                                     errorJson( "b", "no" ) } ) {
      Utils::Json::Document json;
      ASSERT_FALSE( Utils::Json::parse( text.c_str(), json ) ) << text;
      EXPECT_STREQ( json[ "board" ].GetString(), "b" );
      EXPECT_EQ( json[ "objects" ].Size(), 0u );
      EXPECT_FALSE( json[ "ok" ].GetBool() );
   }
}

TEST( RowTest, ReadsShortDecimalsFromFloats ) {
   Row row{ &kInlet, 0.1f, State::Ok, "" };
   EXPECT_THAT( rowsJson( "b", { row } ), testing::HasSubstr( "\"reading\": 0.1," ) );
}

TEST( TextTest, KeepsOnlyWhatIsValidUtf8 ) {
   EXPECT_EQ( Utils::printable( "a\tb\x7f\xc3\xa4\xe2\x82\xac\xf0\x9f\x98\x80" ),
              "a b \xc3\xa4\xe2\x82\xac\xf0\x9f\x98\x80" );
   EXPECT_EQ( Utils::printable( "\xc0\x80\xed\xa0\x80\xf5" ), "??????" );
   EXPECT_EQ( Utils::printable( "\xe2\x82" ), "??" );
   EXPECT_EQ( Utils::printable( "\u0085\u009f\u00a0\u202e\u2069\u206a" ), "  \u00a0  \u206a" );
   EXPECT_EQ( Utils::findInvalid( "f\xc3\xa4n\xc3" ), 4u );
   EXPECT_EQ( Utils::findInvalid( "f\xc3\xa4n" ), std::string::npos );
   EXPECT_EQ( Utils::length( "f\xc3\xa4n" ), 3u );
}

}  // namespace
}  // namespace Host
