#include <gmock/gmock.h>

#include "Host/Output/PoeProgress.h"
#include "Host/Output/PoeReport.h"
#include "Host/Output/Report.h"
#include "Host/Session/LabelledText.h"
#include "Host/Session/Session.h"
#include "Host/Session/UseError.h"
#include "Utils/Json.h"

using testing::HasSubstr;

namespace Host {
namespace {

TEST( LabelledTextTest, FindsValuesInAnyText ) {
   LabelledText text(
      "Port:\nLimits: SMBus error\n a\t:  1.5 W\r\na: 2\n::\n:x\nb\nc: inf\nd: 1e999" );
   EXPECT_EQ( text.value( "Limits" ), "SMBus error" );
   EXPECT_EQ( text.number( "a" ), 1.5 );
   EXPECT_TRUE( text.hasValue( "a", "2" ) );
   for ( const char* label : { "Port", "b", "c", "d", "Limits", "none" } ) {
      EXPECT_EQ( text.number( label ), std::nullopt ) << label;
   }
}

TEST( PoeProgressTest, IsTakenFromNoOtherTrace ) {
   for ( auto [ line, percent ] : { std::pair( "Writing firmware", 0 ),
                                    { "Writing firmware: 40 %", 40 },
                                    { "Loading firmware", 100 },
                                    { "Writing firmware: x", -1 },
                                    { "Writing firmware: 101 %", -1 },
                                    { "Writing firmware: -2 %", -1 },
                                    { "Error: Writing firmware: 1", -1 } } ) {
      EXPECT_EQ( firmwareProgress( line ), percent ) << line;
   }
}

class PoeTest : public testing::Test {
 protected:
   PoeTest() { setenv( "SIMULATION_VMID", "1", 1 ); }

   // Of ports that tell these states, each with its information.
   std::vector< Observation > read( std::initializer_list< const char* > ports,
                                    ReadObject reader ) {
      for ( const char* words : ports ) {
         board.objects.push_back( { .kind = Kind::PoePort, .name = "p", .device = words } );
      }
      Session session( library, board, { .socket = "/nonexistent", .readObject = reader } );
      return session.read();
   }

   DriverLibrary library{ LUMEN_FAKE_LIBRARY };
   Board board{ .directory = "board", .topology = "" };
};

TEST_F( PoeTest, StatusPutsFaultsAndDisabledPortsInWords ) {
   EXPECT_EQ( statusTable( read( { "0", "4", "5", "6" }, readAsKind ), {} ),
              "object  kind      reading  unit  limits  state\n"
              "p       poe_port       12  W          -  ok: disabled\n"
              "p       poe_port       12  W          -  ok\n"
              "p       poe_port       12  W          -  fault\n"
              "p       poe_port       12  W          -  fault: overload\n" );
}

TEST_F( PoeTest, AllPortsAreInOneTableAndInJson ) {
   std::vector< PoePort > ports;
   for ( const Observation& observation :
         read( { "0Enabled: no\nLimit type: none", "1Enabled: yes\nPower signature absent: 3",
                 "3Power denied: 1\nConsumed: 31.0 W\nBudget: 60.0 W\nFirmware version: 7.1",
                 "4Limit type: user\nLimit: 31.0 W\nOverload: 9", "5Port status: other fault",
                 "5Port status: test", "5Short circuit: 2", "6", "?" },
               []( Kind, void* port ) { return readPoePort( port ); } ) ) {
      ports.push_back( poePortOf( observation ) );
   }
   EXPECT_EQ(
      poeTable( ports, { { 7, ports }, { {}, {} } }, {} ),
      R"(port  admin     status      class  watts      limit  volts  amperes  degrees  reason
p     disabled  disabled        4   12.0       none   12.0   12.000     12.0  -
p     enabled   searching       4   12.0          -   12.0   12.000     12.0  mps absent
p     -         requesting      4   12.0          -   12.0   12.000     12.0  power not available
p     -         delivering      4   12.0  31.0 user   12.0   12.000     12.0  -
p     -         otherfault      4   12.0          -   12.0   12.000     12.0  -
p     -         test            4   12.0          -   12.0   12.000     12.0  -
p     -         fault           4   12.0          -   12.0   12.000     12.0  short detected
p     -         fault           4   12.0          -   12.0   12.000     12.0  overload detected
p     -         failed          -      -          -      -        -        -  I/O error

controller 7: 31.0 of 60.0 W, 1 of 9 ports delivering, firmware 7.1
a controller: consumption unknown, 0 of 0 ports delivering, firmware unknown
)" );
   std::string json = poeJson( "b", ports, { { 7, ports } } );
   Utils::Json::Document document;
   EXPECT_FALSE( Utils::Json::parse( json.c_str(), document ) );
   for ( const char* part :
         { R"("admin_state": "disabled")", R"("reason": "mps_absent")", R"("limit_w": 31.0)",
           R"("class": null)", R"("ok": false)", R"("budget_w": 60.0)" } ) {
      EXPECT_THAT( json, HasSubstr( part ) );
   }
   EXPECT_FALSE( allWell( { { 7, { ports[ 8 ] } } } ) );
   EXPECT_FALSE( allWell( { { 7, { ports[ 4 ] } } } ) );
   EXPECT_TRUE( allWell( { { 7, { ports[ 0 ], ports[ 3 ] } } } ) );
}

TEST_F( PoeTest, RefusesLimitsThatWouldWrap ) {
   const std::tuple< const char*, const char*, State > rows[] = {
      { "4", "limit 49.5", State::Ok },
      { "4", "limit 49.6", State::Failed },
      { "4Alternative: 3.0 W\nAlternative: 0x14, class 6", "limit 90", State::Ok },
      { "4", "limit class", State::Ok } };
   for ( const auto& [ port, limit, state ] : rows ) {
      board.objects = { { .kind = Kind::PoePort, .name = "p", .device = port } };
      Session session( library, board, { .socket = "/nonexistent" } );
      session.settingIs( 0, parseSetting( board.objects[ 0 ], limit ) );
      EXPECT_EQ( session.read()[ 0 ].state, state ) << limit;
   }
   for ( const char* text :
         { "limit 90.1", "limit 0.1", "limit nan", "limit", "limit 5 W", "On" } ) {
      EXPECT_THROW( parseSetting( board.objects[ 0 ], text ), UseError ) << text;
   }
}

}  // namespace
}  // namespace Host
