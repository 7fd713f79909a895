#include <fmt/format.h>
#include <gmock/gmock.h>

#include <fstream>
#include <span>

#include "Drivers/BCM59121/FirmwareImage.h"
#include "Tests/board/RunningBoard.h"
#include "Tests/support/TemporaryDirectory.h"
#include "pl.h"

using testing::HasSubstr;

namespace {

constexpr uint32_t kController = 1;

class PoeBoardTest : public Tests::RunningBoard {
 protected:
   PoeBoardTest() : RunningBoard( "poe48" ) {
      EXPECT_EQ( pl_poe_port_init( documents.topology.c_str() ), PL_STATUS_OK );
   }

   pl_poe_port* add( const std::string& name ) const {
      return pl_poe_port_add( object( name ).device.c_str() );
   }

   double get( const char* quantity ) const { return chips->get( kController, quantity ); }
};

// A firmware 9.3 for the board; gives the root below which the driver finds it.
std::string writeImage( const Tests::TemporaryDirectory& root ) {
   std::filesystem::create_directory( root.path() / "poe48" );
   std::string payload( 100, 'p' );
   uint32_t crc = Drivers::Poe::crc32( payload );
   std::string header{ 'L', 'P', 'S', 'E', 0, 0, 0, 100 };
   for ( int shift = 24; shift >= 0; shift -= 8 ) {
      header += static_cast< char >( crc >> shift );
   }
   header += std::string{ 9, 3, 0, 0 };
   std::ofstream( root.path() / "poe48/poe_firmware.bin" ) << header << payload;
   return root.path().string() + "/";
}

// "powered 12.5 W (12.5 + 0), class 4"; what was read is kept for two seconds.
std::string describe( pl_poe_port* port ) {
   constexpr const char* kStates[] = { "disabled", "searching", "requesting", "requesting dual",
                                       "powered",  "fault",     "overload" };
   const pl_poe_port_ops& ops = *port->ops;
   pl_poe_port_state state[ 3 ];
   pl_poe_port_pair_state pairs;
   pl_poe_device_class deviceClass[ 3 ];
   float watts[ 3 ];
   EXPECT_EQ( ops.get_poe_port_power_state( port, &state[ 0 ], &state[ 1 ], &state[ 2 ], &pairs ),
              PL_STATUS_OK );
   EXPECT_EQ(
      ops.get_poe_device_class( port, &deviceClass[ 0 ], &deviceClass[ 1 ], &deviceClass[ 2 ] ),
      PL_STATUS_OK );
   EXPECT_EQ( ops.get_poe_port_power( port, &watts[ 0 ], &watts[ 1 ], &watts[ 2 ] ), PL_STATUS_OK );
   std::string text = kStates[ state[ 0 ] ];
   if ( watts[ 0 ] > 0 ) {
      text += fmt::format( " {:.4g} W ({:.4g} + {:.4g})", watts[ 0 ], watts[ 1 ], watts[ 2 ] );
   }
   return deviceClass[ 0 ] == PL_POE_CLASS_UNKNOWN
             ? text
             : text + fmt::format( ", class {}", static_cast< int >( deviceClass[ 0 ] ) );
}

// A port, then what hands and the host do: "quantity=value", "pse=0", "limit=watts"; then what the
// port tells.
TEST_F( PoeBoardTest, PortsServeTheirDevicesAndDisturbNoOther ) {
   const std::pair< const char*, const char* > rows[] = {
      { "port6 class5=4 draw5=20 device5=1", "powered 20 W (20 + 0), class 4" },
      { "port7 short6=1 device6=1", "fault, class 0" },
      { "port10 class9=1 draw9=4.5 device9=1", "overload, class 1" },
      { "port11 class10=3 draw10=9 device10=1 limit=8", "overload, class 3" },
      { "port12 class11=3 draw11=9 device11=1 limit=9", "powered 9 W (9 + 0), class 3" },
      { "port43 class42=8 draw42=80 device42=1", "powered 80 W (40 + 40), class 8" },
      { "port48 class47=1 draw47=2 device47=1", "disabled" },
      { "port14", "searching" },
      { "port1 pse=0", "disabled" },
      { "port2", "powered 11.8 W (11.8 + 0), class 4" },
      // The last port gives way.
      { "port45 budget=340", "requesting, class 8" },
      { "port44 class43=6 draw43=55 dual43=1 device43=1", "requesting dual, class 6" },
      { "port15 class14=4 draw14=25 device14=1", "requesting, class 4" },
   };
   for ( const auto& [ row, told ] : rows ) {
      auto words = Tests::wordsOf( row );
      pl_poe_port* port = add( words[ 0 ] );
      for ( const std::string& word : std::span( words ).subspan( 1 ) ) {
         std::string name = word.substr( 0, word.find( '=' ) );
         double value = std::stod( word.substr( word.find( '=' ) + 1 ) );
         if ( name == "pse" ) {
            EXPECT_EQ( port->ops->set_poe_port_pse( port, value != 0 ), PL_STATUS_OK );
         } else if ( name == "limit" ) {
            EXPECT_EQ( port->ops->set_poe_port_limit( port, PL_POE_LIMIT_USER,
                                                      static_cast< float >( value ) ),
                       PL_STATUS_OK );
         } else {
            chips->set( kController, name, value );
         }
      }
      EXPECT_EQ( describe( port ), told ) << row;
   }
}

// A host that starts, reads all there is and ends is not noticed.
TEST_F( PoeBoardTest, StartingAndReadingChangesNothing ) {
   for ( const BoardFiles::ObjectSpec& spec : documents.objects ) {
      if ( spec.kind == BoardFiles::Kind::PoePort ) {
         pl_poe_port* port = add( spec.name );
         describe( port );
         char* text = nullptr;
         bool ok = false;
         EXPECT_EQ( port->ops->get_poe_port_crc_status( port, &ok ), PL_STATUS_OK );
         EXPECT_TRUE( ok );
         EXPECT_EQ( port->ops->debug_info( port, &text, true ), PL_STATUS_OK );
         free( text );
      }
   }
   EXPECT_EQ( get( "commands" ), 0 );
   EXPECT_EQ( get( "powered0" ), 1 );
}

TEST_F( PoeBoardTest, InitialisationBringsAControllerWithoutFirmwareBack ) {
   Tests::TemporaryDirectory root;
   const std::string path = writeImage( root );
   Drivers::Poe::firmwareRoot = path.c_str();
   pl_poe_port* port = add( "port1" );
   chips->set( kController, "firmwareMissing", 1 );
   EXPECT_EQ( get( "powered0" ), 0 );
   EXPECT_EQ( port->ops->poe_port_init( port ), PL_STATUS_OK );
   EXPECT_EQ( get( "firmwareMissing" ), 0 );
   char* text = nullptr;
   EXPECT_EQ( port->ops->get_poe_port_information( port, &text ), PL_STATUS_OK );
   EXPECT_THAT( text, HasSubstr( "Firmware version:       9.3\n" ) );
   EXPECT_THAT( text, HasSubstr( "4-pair map configured:  yes\n" ) );
   free( text );
   EXPECT_EQ( port->ops->set_poe_port_pse( port, true ), PL_STATUS_OK );
   EXPECT_EQ( get( "watts0" ), 12.5 );
}

// A controller that is busy keeps its firmware; a mask of which nobody knows is sent again.
TEST_F( PoeBoardTest, NothingIsTakenForDoneThatWasNotAcknowledged ) {
   Tests::TemporaryDirectory root;
   const std::string path = writeImage( root );
   Drivers::Poe::firmwareRoot = path.c_str();
   pl_poe_port* port = add( "port1" );
   chips->set( kController, "busy", 1 );
   char* text = nullptr;
   EXPECT_EQ( port->ops->reprogram_poe_firmware( port, true, &text ), PL_STATUS_DEVICE_ERROR );
   EXPECT_STREQ( text, "Clearing current image: hardware error. Nothing was changed." );
   free( text );
   chips->set( kController, "busy", 0 );
   EXPECT_EQ( get( "powered0" ), 1 );
   chips->addFault( kController, { .kind = BoardFiles::FaultKind::kNak, .skip = 1 } );
   EXPECT_NE( port->ops->set_poe_port_shut_off_with_psu( port, 0, true ), PL_STATUS_OK );
   EXPECT_EQ( port->ops->set_poe_port_shut_off_with_psu( port, 0, false ), PL_STATUS_OK );
   EXPECT_EQ( get( "commands" ), 2 );
   chips->set( kController, "supplyFailed", 2 );
   EXPECT_EQ( get( "powered0" ), 1 );
}

}  // namespace
