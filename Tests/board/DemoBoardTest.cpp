#include <gmock/gmock.h>

#include <algorithm>

#include "BoardFiles/Board.h"
#include "Tests/service/Steps.h"
#include "pl.h"

// The demo board's drivers against its emulated chips, with the library, the service's frames and
// the bus between them.

namespace {

using namespace SmbusService;
using testing::HasSubstr;

class DemoBoardTest : public testing::Test {
 protected:
   DemoBoardTest() { setenv( "PL_SMBUS_SOCKET", server.path().c_str(), 1 ); }

   const BoardFiles::ObjectSpec& object( const std::string& name ) const {
      return *std::ranges::find( documents.objects, name, &BoardFiles::ObjectSpec::name );
   }

   uint32_t didOf( const std::string& name ) const {
      Utils::Json::Document device;
      Utils::Json::parse( object( name ).device.c_str(), device );
      return device[ "did" ].GetUint();
   }

   pl_temp_sensor* addSensor( const std::string& name, float alert, float critical ) const {
      EXPECT_EQ( pl_temp_sensor_init( documents.topology.c_str() ), PL_STATUS_OK );
      return pl_temp_sensor_add( object( name ).device.c_str(), alert, critical );
   }

   float read( pl_temp_sensor* sensor ) const {
      float celsius = -999;
      EXPECT_EQ( sensor->ops->get_temperature( sensor, &celsius ), PL_STATUS_OK );
      return celsius;
   }

   pl_smbus* addEndpoint( const char* name ) const {
      EXPECT_EQ( pl_smbus_init( documents.topology.c_str() ), PL_STATUS_OK );
      return pl_smbus_add( object( name ).device.c_str(), object( name ).address );
   }

   BoardFiles::Board documents =
      BoardFiles::loadBoard( LUMEN_SOURCE_DIR "/Boards/demo", BoardFiles::Emulation::Needed );
   std::unique_ptr< Emulator::EmulatedBoard > chips = Emulator::loadBoard( documents );
   Tests::RunningServer server{ *chips };
};

// Object, quantity, alert and critical limit; then what limits the chip has, and for each value
// that is set what is read.
TEST_F( DemoBoardTest, SensorsReadWhatTheChipsMeasureAndProgramTheirLimits ) {
   for ( const char* row : {
            "inlet temperature 1 2 -40.5=-40.5 99.9375=99.875",
            "memory temperature 70 -10.5 highLimit=-10.5 lowLimit=-10 -0.25=-0.25 25.46875=25.25",
            "asic-monitor temperature0 85 95.5 therm2Limit0=85 thermLimit0=95.5 -40.0625=-40.0625",
            "asic-edge temperature8 -5.5 127.5 therm2Limit8=-5.5 thermLimit8=127.5 61.0625=61.0625",
            "phy1 temperature1 95.9 100 alertLimit1=95 overtempLimit1=100 0=0 127.875=127.875",
            "phy2 temperature2 70 80 alertLimit2=70 127=127",
            "phy4 temperature4 71 81 alertLimit4=71 overtempLimit4=81 90=90",
            "line-card temperature7 72 82 alertLimit7=72 38=38",
            "cpu-monitor temperature0 95.9 -5 alertLimit0=95 overtempLimit0=-5 25.125=25.125",
            // The diode's over-temperature is programmed where the chip has no register.
            "cpu-die temperature1 -6 80 alertLimit1=-6 overtempLimit1=85 -9.625=-9.625",
            "vrm-memory temperature 1 2 125=125",
            "vrm-serdes temperature1 105 120 warningLimit0=110 warningLimit1=105 faultLimit1=120 "
            "66=66",
            "vrm-core1 temperature1 1 2 61=61",
            "vrm-core2 temperature2 1 2 300=300",
         } ) {
      auto words = Tests::wordsOf( row );
      uint32_t did = didOf( words[ 0 ] );
      pl_temp_sensor* sensor =
         addSensor( words[ 0 ], std::stof( words[ 2 ] ), std::stof( words[ 3 ] ) );
      for ( size_t i = 4; i < words.size(); ++i ) {
         size_t sign = words[ i ].find( '=' );
         std::string name = words[ i ].substr( 0, sign );
         float expected = std::stof( words[ i ].substr( sign + 1 ) );
         if ( isalpha( name[ 0 ] ) ) {
            EXPECT_EQ( chips->get( did, name ), expected ) << row;
         } else {
            chips->set( did, words[ 1 ], std::stod( name ) );
            EXPECT_EQ( read( sensor ), expected ) << row;
         }
      }
   }
   pl_temp_sensor* sensor = addSensor( "cpu-die", 70, 80 );
   chips->set( didOf( "cpu-die" ), "fault1", 1 );
   float untouched = -999;
   EXPECT_EQ( sensor->ops->get_temperature( sensor, &untouched ), PL_STATUS_IO_ERROR );
   EXPECT_EQ( untouched, -999 );
}

TEST_F( DemoBoardTest, MuxesLeadToTheRightTwin ) {
   std::vector< std::pair< pl_temp_sensor*, float > > twins;
   float celsius = 30;
   for ( const char* name : { "optics-left", "port1", "port2", "management", "inlet" } ) {
      twins.emplace_back( addSensor( name, 70, 80 ), ++celsius );
      chips->set( didOf( name ), "temperature", celsius );
   }
   for ( const auto& [ sensor, expected ] : twins ) {
      EXPECT_EQ( read( sensor ), expected );
   }
}

TEST_F( DemoBoardTest, PinsAndMemoriesTakeAndGiveTheirBytes ) {
   EXPECT_EQ( pl_gpio_init( documents.topology.c_str() ), PL_STATUS_OK );
   pl_gpio* present = pl_gpio_add( object( "module-present" ).device.c_str() );
   pl_gpio* reset = pl_gpio_add( object( "module-reset" ).device.c_str() );
   for ( unsigned level : { 1u, 0u } ) {
      unsigned value = 2;
      chips->set( 401, "pin3", level );
      EXPECT_EQ( present->ops->bit_read( present, &value ), PL_STATUS_OK );
      EXPECT_EQ( value, level );
      EXPECT_EQ( ( level ? reset->ops->bit_set : reset->ops->bit_clear )( reset ), PL_STATUS_OK );
      EXPECT_EQ( reset->ops->bit_read( reset, &value ), PL_STATUS_OK );
      EXPECT_EQ( value, level );
   }
   const std::pair< pl_smbus*, const char* > memories[] = {
      { addEndpoint( "eeprom1" ), "port 1" }, { addEndpoint( "eeprom2" ), "port 2" } };
   for ( const auto& [ memory, contents ] : memories ) {
      uint8_t bytes[ 6 ];
      EXPECT_EQ( memory->ops->i2c_block_read( memory, 0, 1, bytes, sizeof bytes ), PL_STATUS_OK );
      EXPECT_EQ( std::string( bytes, std::end( bytes ) ), contents );
      uint8_t byte = 0;
      EXPECT_EQ( memory->ops->write_byte( memory, 5, 1, '9' ), PL_STATUS_OK );
      std::this_thread::sleep_for( std::chrono::milliseconds( 6 ) );  // it programs the page
      EXPECT_EQ( memory->ops->read_byte( memory, 5, 1, &byte ), PL_STATUS_OK );
      EXPECT_EQ( byte, '9' );
   }
}

// Object, what is set on its chip, and what its fan reads: a speed, or "status" and one.
TEST_F( DemoBoardTest, FansTellHowTheirRotorsTurn ) {
   EXPECT_EQ( pl_fan_init( documents.topology.c_str() ), PL_STATUS_OK );
   for ( const char* row : {
            "fan2 maxRpm2=8000 8000 fault2=1 status 2 fault2=0 stopped2=1 status 2 present2=0 "
            "status 1",
            "fan3 present3=0 status 1 present3=1 10000",
            "rear1-outer outerMaxRpm0=12000 12000 innerStopped0=1 status 2",
            "rear2-inner innerMaxRpm1=15000 15000 fault1=1 status 2 fault1=0 15000",
            "spinner maxRpm=10000 10000 innerStopped=1 status 2 innerStopped=0 outerStopped=1 "
            "status 2",
         } ) {
      std::istringstream words( row );
      std::string name;
      words >> name;
      pl_fan* fan = pl_fan_add( object( name ).device.c_str() );
      ASSERT_NE( fan, nullptr );
      for ( std::string word; words >> word; ) {
         if ( size_t equals = word.find( '=' ); equals != word.npos ) {
            chips->set( didOf( name ), word.substr( 0, equals ),
                        std::stod( word.substr( equals + 1 ) ) );
            continue;
         }
         int rpm = -1;
         if ( pl_status status = fan->ops->get_rpm( fan, &rpm ) ) {
            words >> word;
            EXPECT_EQ( status, std::stoi( word ) ) << row;
            EXPECT_EQ( rpm, -1 );
         } else {
            EXPECT_EQ( std::to_string( rpm ), word ) << row;
         }
      }
   }
}

TEST_F( DemoBoardTest, FansTakeTheirDuty ) {
   EXPECT_EQ( pl_fan_init( documents.topology.c_str() ), PL_STATUS_OK );
   for ( const auto& [ name, rpm, quantity, duty ] : { std::tuple( "fan1", 6500, "duty1", 128 ),
                                                       { "rear2-outer", 13000, "outerDuty1", 127 },
                                                       { "rear1-inner", 5400, "innerDuty0", 0 },
                                                       { "spinner", 9000, "duty", 127 } } ) {
      pl_fan* fan = pl_fan_add( object( name ).device.c_str() );
      EXPECT_EQ( fan->ops->set_rpm( fan, rpm ), PL_STATUS_OK );
      EXPECT_EQ( chips->get( didOf( name ), quantity ), duty ) << name;
   }
}

// Statuses in turn: what is lit after each.
TEST_F( DemoBoardTest, LedsLightWhatTheirStatusMeans ) {
   EXPECT_EQ( pl_led_init( documents.topology.c_str() ), PL_STATUS_OK );
   for ( const char* row : {
            "fan4-led 1 green4=1 red4=0 2 green4=1 red4=1 3 green4=0 red4=1 0 red4=0",
            "rear2-led 1 green1=1 red1=0 3 green1=0 red1=1 0 red1=0",
            "rear-status 1 green=1 red=0 2 red=1 3 green=0 0 red=0",
            "status-led 1 pin0=1 pin1=0 pin2=0 3 pin0=0 pin1=1 6 pin0=1 pin2=1 0 pin2=0",
         } ) {
      std::istringstream words( row );
      std::string name;
      words >> name;
      pl_led* led = pl_led_add( object( name ).device.c_str() );
      ASSERT_NE( led, nullptr );
      for ( std::string word; words >> word; ) {
         size_t equals = word.find( '=' );
         if ( equals == word.npos ) {
            auto status = static_cast< pl_led_status >( std::stoi( word ) );
            EXPECT_EQ( led->ops->set_light_setting( led, status ), PL_STATUS_OK );
         } else {
            EXPECT_EQ( chips->get( didOf( name ), word.substr( 0, equals ) ),
                       std::stod( word.substr( equals + 1 ) ) )
               << row << " at " << word;
         }
      }
   }
}

TEST_F( DemoBoardTest, SlotsTellWhatIsInThem ) {
   EXPECT_EQ( pl_slot_init( documents.topology.c_str() ), PL_STATUS_OK );
   auto presence = []( pl_slot* slot ) {
      char* text = nullptr;
      pl_status status = slot->ops->get_presence( slot, &text );
      std::string found = text ? text : "status " + std::to_string( status );
      free( text );
      return found;
   };
   auto add = [ this ]( const char* name ) { return pl_slot_add( object( name ).device.c_str() ); };
   pl_slot* cpu = add( "fan1-slot" );
   EXPECT_THAT( presence( cpu ), HasSubstr( "modelName = 'FAN-7001-F'" ) );
   chips->set( didOf( "fan1-slot" ), "type1", 4 );
   EXPECT_THAT( presence( cpu ), HasSubstr( "modelName = 'FAN-7002-R'" ) );
   chips->set( didOf( "fan1-slot" ), "present1", 0 );
   EXPECT_EQ( presence( cpu ), "status 1" );
   pl_slot* rear = add( "rear2-slot" );
   EXPECT_THAT( presence( rear ), HasSubstr( "modelName = 'FAN-6001-R'" ) );
   chips->set( didOf( "rear2-slot" ), "type1", 77 );
   EXPECT_EQ( presence( rear ), "status 1" );
   pl_slot* spinner = add( "spinner-slot" );
   EXPECT_THAT( presence( spinner ),
                HasSubstr( "modelName = 'FAN-7012-F'\nfanTray.serialNum = 'MFS2043A017'" ) );
   chips->unplug( didOf( "spinner-slot" ) );
   EXPECT_EQ( presence( spinner ), "status 1" );
   chips->plug( didOf( "spinner-slot" ) );
   EXPECT_THAT( presence( spinner ), HasSubstr( "FAN-7012-F" ) );
   chips->addFault( 411, { .kind = BoardFiles::FaultKind::kNak, .count = 9 } );
   EXPECT_EQ( presence( spinner ), "status 6" ) << "the mux on the way is silent, not the module";
}

}  // namespace
