#include <gmock/gmock.h>

#include "Host/Output/Report.h"
#include "Host/Output/ShowReport.h"
#include "Host/Output/SmbusReport.h"
#include "Host/Session/FactReader.h"
#include "Host/Session/Session.h"
#include "Host/Session/SlotWords.h"
#include "Utils/Text.h"

using testing::HasSubstr;

namespace Host {

using namespace BoardFiles;
namespace {

const ObjectSpec kInlet{ Kind::TempSensor, "inlet", "", {}, 75, 85.5 };
const ObjectSpec kFan{ Kind::Fan, "fän 1", "", {}, {}, {}, { 3600, 20000 } };
const ObjectSpec kSlot{ Kind::Slot, "tray", "" };
const ObjectSpec kPower{ Kind::Led, "power", "" };
const ObjectSpec kLed{ Kind::Led, "l\x1b[2J\xff", "" };

const std::vector< Observation > kObservations = {
   { &kInlet, State::Alert, "", -7.3f },
   { &kFan, State::Ok, "", 12000 },
   { &kLed, State::Failed, "the first line\nand \"the second\"" },
   { &kSlot, State::Ok, "", {}, "FAN-7, serial 1" },
   { &kPower, State::Ok, "", {}, "Good" },
};

TEST( TableTest, AlignsColumnsWhateverTheTexts ) {
   EXPECT_EQ( statusTable( kObservations, {} ),
              "object  kind         reading  unit        limits  state\n"
              "tray    slot             -                     -  ok: FAN-7, serial 1\n"
              "l [2J?  led              -                     -  failed: the first line and "
              "\"the second\"\n"
              "power   led           Good                     -  ok\n"
              "inlet   temp_sensor     -7.3  C        75 / 85.5  alert\n"
              "fän 1   fan          12000    rpm   3600 - 20000  ok\n" );
}

TEST( TableTest, PutsTheWorstFirstAndNamesAsPeopleCount ) {
   const ObjectSpec second{ Kind::Fan, "port2", "" };
   const ObjectSpec tenth{ Kind::Gpio, "port10", "" };
   std::vector< Observation > rows = { { &tenth, State::Ok },       { &second, State::Ok },
                                       { &second, State::Absent },  { &second, State::Alert },
                                       { &second, State::Failed },  { &tenth, State::Critical },
                                       { &second, State::Pending }, { &second, State::Fault } };
   std::string states;
   for ( const Observation& each : inOrder( rows, Order::State ) ) {
      states += stateName( each.state ) + std::string( " " );
   }
   EXPECT_EQ( states, "failed critical fault alert absent pending ok ok " );
   EXPECT_EQ( inOrder( rows, Order::Name ).back().object, &tenth );
   EXPECT_EQ( inOrder( rows, Order::State ).back().object, &second );
   EXPECT_EQ( summaryText( rows ),
              "8 objects: 2 ok, 1 absent, 1 alert, 1 critical, 1 fault, "
              "1 failed, 1 pending\n" );
}

TEST( LimitsTest, HoldOnBothSidesAndUntilTheReadingIsWellInside ) {
   ObjectSpec sensor{ Kind::TempSensor, "", "", {}, 70, 80 };
   sensor.low = -20;
   sensor.hysteresis = 2;
   ObjectSpec fan{ .kind = Kind::Fan, .name = "", .device = "", .range = { 3000, {} } };
   ObjectSpec gpio{ .kind = Kind::Gpio, .name = "", .device = "", .expected = 1 };
   struct Row {
      const ObjectSpec& object;
      double value;
      State before, state;
      const char* reason = "";
   };
   const Row rows[] = {
      { sensor, -55, State::Ok, State::Alert, "at or below its low limit" },
      { sensor, -20, State::Ok, State::Alert, "at or below its low limit" },
      { sensor, -19.5, State::Ok, State::Ok },
      { sensor, -18.5, State::Alert, State::Alert, "until it is up to -18 C" },
      { sensor, -18, State::Alert, State::Ok },
      { sensor, 69.5, State::Alert, State::Alert, "until it is down to 68 C" },
      { sensor, 69.5, State::Failed, State::Ok },
      { sensor, 68, State::Alert, State::Ok },
      { sensor, 79, State::Alert, State::Alert },
      { sensor, 78.5, State::Critical, State::Critical, "until it is down to 78 C" },
      { sensor, 78, State::Critical, State::Alert },
      { sensor, 68.5, State::Critical, State::Alert, "until it is down to 68 C" },
      { sensor, -55, State::Critical, State::Alert, "at or below its low limit" },
      { fan, 0, State::Ok, State::Critical, "the fan does not turn" },
      { fan, 2699, State::Ok, State::Alert, "slower than its lowest speed" },
      { fan, 2700, State::Ok, State::Ok },
      { gpio, 0, State::Ok, State::Alert, "should be 1" },
      { gpio, 1, State::Alert, State::Ok },
   };
   for ( const auto& [ object, value, before, state, reason ] : rows ) {
      Observation previous{ &object, before };
      Observation now = observed( object, { .value = value }, "", &previous );
      EXPECT_EQ( now.state, state ) << value;
      EXPECT_EQ( now.reason, reason ) << value;
   }
   EXPECT_EQ( limitsText( sensor ), "-20 / 70 / 80" );
   EXPECT_EQ( limitsText( fan ), "from 3000" );
   EXPECT_EQ( limitsText( gpio ), "= 1" );
}

TEST( ShowTest, TellsWhatCanBeReadAndWhyTheRestCannot ) {
   setenv( "SIMULATION_VMID", "1", 1 );
   DriverLibrary library( LUMEN_FAKE_LIBRARY );
   Board board{ .directory = "b", .topology = "" };
   board.objects = { { Kind::Psu, "psu", "{}" }, { Kind::Xcvr, "port", "{}" } };
   Session session( library, board, { .socket = "/nonexistent", .readObject = readFacts } );
   auto observations = session.read();
   EXPECT_EQ( showText( board, shownObject( board, observations[ 1 ] ) ),
              "port\n"
              "   kind:   xcvr\n"
              "   state:  absent\n"
              "   type:   QSFP\n" );
   EXPECT_EQ( showText( board, shownObject( board, observations[ 0 ] ) ),
              "psu\n"
              "   kind:            psu\n"
              "   state:           fault: the power is not ok\n"
              "   power ok:        0\n"
              "   input voltage:   failed: no acknowledge from device 0x48\n"
              "   input current:   failed: the reading is no number\n"
              "   output voltage:  failed: I/O error\n"
              "   output current:  1.5 A\n" );
}

TEST( SmbusReportTest, DumpsBytesInLinesAndWordsAsNumbers ) {
   EXPECT_EQ( hexDump( std::string( "port 1\n\xff~\x7f", 10 ) + "ABCDEFG" ),
              "0000  70 6f 72 74 20 31 0a ff  7e 7f 41 42 43 44 45 46   port 1..~.ABCDEF\n"
              "0010  47                                                 G\n" );
   EXPECT_EQ( answerText( "\x20\x31", Answer::Word ), "0x3120" );
   EXPECT_EQ( answerText( "\x20\x31", Answer::Bytes ), "0x20 0x31" );
}

TEST( ValueTest, IsTheStateWhereAnObjectTellsNothing ) {
   EXPECT_EQ( valueText( { &kSlot, State::Ok, "", {}, "FAN-7" } ), "FAN-7" );
   EXPECT_EQ( valueText( { &kLed, State::Ok } ), "-" );
   EXPECT_EQ( valueText( { &kLed, State::Absent } ), "absent" );
}

TEST( SlotWordsTest, TellWhatIsKnownWhateverTheText ) {
   const std::pair< std::string, const char* > rows[] = {
      { "t.modelName='M'\r\nt.serialNum \t=  \"it's 5\"\nf.airflowDirection = 'backToFrontAirflow'",
        "M, serial it's 5, back to front" },
      { "t.modelName = 'N/A'\nu.modelName = 'M'\nt.serialNum = ' N/A '", "" },
      { "#t.modelName = 'A'\n t.modelName = 'B'\nt.modelName == 'C'\nt.modelName = 'D\nt.modelName "
        "= 'M' + x\nt.modelName = 'N'",
        "M" },
      { "=\n.\n'\n. = '\nx.serialNum = '\x1b\xff'", "serial ?" },
   };
   for ( const auto& [ program, words ] : rows ) {
      EXPECT_EQ( slotWords( program ), words ) << program;
   }
}

TEST( TableTest, WrapsReasonsWithinTheirColumnAndColoursTextsOnly ) {
   std::string table = statusTable( kObservations, { .colours = true, .width = 73 } );
   EXPECT_THAT( table,
                HasSubstr( "-  \x1b[31mfailed: the first line\x1b[0m\n" + std::string( 50, ' ' ) +
                           "\x1b[31mand \"the second\"\x1b[0m\n" ) );
   EXPECT_THAT( table, HasSubstr( "75 / 85.5  \x1b[33malert\x1b[0m\n" ) );
}

TEST( JsonReportTest, TellsReasonsOfAnyText ) {
   EXPECT_THAT( statusJson( "b", kObservations ),
                AllOf( HasSubstr( R"("reading": -7.3,)" ), HasSubstr( R"("name": "l [2J?")" ),
                       HasSubstr( R"("ok": false)" ), HasSubstr( R"("min": 3600.0,)" ),
                       HasSubstr( R"("text": "Good",)" ),
                       HasSubstr( R"("reason": "the first line and \"the second\"")" ) ) );
}

TEST( TextTest, KeepsOnlyWhatIsValidUtf8 ) {
   EXPECT_EQ(
      Utils::printable( "a\tb\x7f\xc3\xa4\xe2\x82\xac\xf0\x9f\x98\x80 \xc0\x80\xed\xa0\x80\xf5" ),
      "a b \xc3\xa4\xe2\x82\xac\xf0\x9f\x98\x80 ??????" );
   EXPECT_EQ( Utils::printable( "\u0085\u009f\u00a0\u202e\u2069\u206a\xe2\x82" ),
              "  \u00a0  \u206a??" );
   EXPECT_EQ( Utils::findInvalid( "f\xc3\xa4n\xc3" ), 4u );
   EXPECT_EQ( Utils::findInvalid( "f\xc3\xa4n" ), std::string::npos );
}

TEST( TextTest, CountsAndCutsAtTheColumnsOfATerminal ) {
   struct {
      const char* text;
      size_t columns;
      const char* inThree;
   } rows[] = {
      { "f\u00e4n", 3, "f\u00e4n" },           { "e\u0301a\u200db", 3, "e\u0301a\u200db" },
      { "\u6e29\u5ea6", 4, "\u6e29\u2026" },   { "a\U0001f600e\u0301", 4, "a\u2026" },
      { "\t\x1b\xff\xe6", 4, "\t\x1b\u2026" }, { "ab\u0301cd", 4, "ab\u0301\u2026" },
   };
   for ( const auto& row : rows ) {
      EXPECT_EQ( Utils::columns( row.text ), row.columns ) << row.text;
      EXPECT_EQ( Utils::fitted( row.text, 3 ), row.inThree );
      EXPECT_EQ( Utils::fitted( row.text, 0 ), "" );
   }
}

}  // namespace
}  // namespace Host
