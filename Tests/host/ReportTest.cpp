#include <gmock/gmock.h>

#include "Host/Output/Report.h"
#include "Utils/Json.h"
#include "Utils/Text.h"

using testing::HasSubstr;

namespace Host {

using namespace BoardFiles;
namespace {

const ObjectSpec kInlet{
   .kind = Kind::TempSensor, .name = "inlet", .device = "", .alert = 75, .critical = 85.5 };
const ObjectSpec kFan{ .kind = Kind::Fan, .name = "fän 1", .device = "" };
const ObjectSpec kLed{ .kind = Kind::Led, .name = "l\x1b[2J\xff", .device = "" };

const std::vector< Observation > kObservations = {
   { &kInlet, State::Alert, "", -7.3f },
   { &kFan, State::Ok, "", 12000 },
   { &kLed, State::Failed, "the first line\nand \"the second\"" },
};

TEST( TableTest, AlignsColumnsWhateverTheTexts ) {
   EXPECT_EQ( statusTable( kObservations, {} ),
              "object  kind         reading  unit     limits  state\n"
              "l [2J?  led              -                  -  failed: the first line and "
              "\"the second\"\n"
              "inlet   temp_sensor     -7.3  C     75 / 85.5  alert\n"
              "fän 1   fan          12000    rpm           -  ok\n" );
}

TEST( TableTest, WrapsReasonsWithinTheirColumnAndColoursTextsOnly ) {
   std::string table = statusTable( kObservations, { .colours = true, .width = 70 } );
   EXPECT_THAT( table,
                HasSubstr( "-  \x1b[31mfailed: the first line\x1b[0m\n" + std::string( 47, ' ' ) +
                           "\x1b[31mand \"the second\"\x1b[0m\n" ) );
   EXPECT_THAT( table, HasSubstr( "75 / 85.5  \x1b[33malert\x1b[0m\n" ) );
}

TEST( JsonReportTest, TellsReasonsOfAnyText ) {
   Utils::Json::Document json;
   ASSERT_FALSE( Utils::Json::parse( statusJson( "b", kObservations ).c_str(), json ) );
   EXPECT_FALSE( json[ "ok" ].GetBool() );
   EXPECT_EQ( json[ "objects" ][ 0 ][ "reading" ].GetDouble(), -7.3 );
   EXPECT_EQ( Utils::Json::write( json[ "objects" ][ 2 ] ),
              R"({"name":"l [2J?","kind":"led","reading":null,"unit":"","alert":null,)"
              R"("critical":null,"state":"failed","reason":"the first line and \"the second\""})" );
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
