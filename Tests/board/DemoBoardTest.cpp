#include <gmock/gmock.h>

#include <functional>
#include <span>

#include "Tests/board/RunningBoard.h"
#include "pl.h"

// The demo board's drivers against its emulated chips, with the library, the service's frames and
// the bus between them.

namespace {

using namespace SmbusService;
using testing::HasSubstr;

class DemoBoardTest : public Tests::RunningBoard {
 protected:
   DemoBoardTest() : RunningBoard( "demo" ) {}

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

// A fan's reading, or the status that it gives instead.
std::string readingOf( pl_fan* fan ) {
   int rpm;
   pl_status status = fan->ops->get_rpm( fan, &rpm );
   return status ? "status" + std::to_string( status ) : std::to_string( rpm );
}

// An object, then in any order "quantity=value" (set on its chip), "quantity~value" (what the chip
// then has), ">value" (what the fan or LED is set to), and what the fan reads.
TEST_F( DemoBoardTest, FansAndLedsDoWhatTheyAreTold ) {
   EXPECT_EQ( pl_fan_init( documents.topology.c_str() ), PL_STATUS_OK );
   for (
      const char* row : {
         "fan2 maxRpm2=8000 8000 fault2=1 status2 fault2=0 stopped2=1 status2 present2=0 status1",
         "fan3 present3=0 status1 present3=1 10000 >6500 duty3~128 >0 duty3~0",
         "rear1-outer outerMaxRpm0=12000 12000 innerStopped0=1 status2",
         "rear2-inner innerMaxRpm1=15000 15000 fault1=1 status2 fault1=0 15000",
         "rear2-outer 20000 >13000 outerDuty1~127 innerDuty1~255",
         "spinner 15000 >9000 duty~127",
         "spinner maxRpm=10000 10000 innerStopped=1 status2 innerStopped=0 outerStopped=1 status2",
         "fan4-led >1 green4~1 red4~0 >2 green4~1 red4~1 >3 green4~0 red4~1 >0 red4~0",
         "rear2-led >1 green1~1 red1~0 >3 green1~0 red1~1 >0 red1~0",
         "rear-status >1 green~1 red~0 >2 red~1 >3 green~0 >0 red~0",
         "status-led >1 pin0~1 pin1~0 pin2~0 >3 pin0~0 pin1~1 >6 pin0~1 pin2~1 >0 pin2~0",
      } ) {
      std::vector< std::string > words = Tests::wordsOf( row );
      uint32_t did = didOf( words[ 0 ] );
      const char* device = object( words[ 0 ] ).device.c_str();
      bool isFan = object( words[ 0 ] ).kind == BoardFiles::Kind::Fan;
      chips->unplug( did );
      chips->plug( did );
      pl_fan* fan = isFan ? pl_fan_add( device ) : nullptr;
      pl_led* led = isFan ? nullptr : pl_led_add( device );
      for ( const std::string& word : std::span( words ).subspan( 1 ) ) {
         SCOPED_TRACE( row + ( " at " + word ) );
         size_t mark = word.find_first_of( "=~>" );
         std::string quantity = word.substr( 0, mark );
         int value = mark == word.npos ? 0 : std::stoi( word.substr( mark + 1 ) );
         if ( mark == word.npos ) {
            EXPECT_EQ( readingOf( fan ), word );
         } else if ( word[ mark ] == '=' ) {
            chips->set( did, quantity, value );
         } else if ( word[ mark ] == '~' ) {
            EXPECT_EQ( chips->get( did, quantity ), value );
         } else {
            EXPECT_EQ( isFan ? fan->ops->set_rpm( fan, value )
                             : led->ops->set_light_setting( led, pl_led_status( value ) ),
                       PL_STATUS_OK );
         }
      }
   }
}

// A slot, what happens to its chip, and a part of what it tells then.
TEST_F( DemoBoardTest, SlotsTellWhatIsInThem ) {
   EXPECT_EQ( pl_slot_init( documents.topology.c_str() ), PL_STATUS_OK );
   const std::tuple< const char*, std::function< void() >, const char* > rows[] = {
      { "fan1-slot", [] {}, "modelName = 'FAN-7001-F'" },
      { "fan1-slot", [ & ] { chips->set( 201, "type1", 4 ); }, "modelName = 'FAN-7002-R'" },
      { "fan1-slot", [ & ] { chips->set( 201, "present1", 0 ); }, "status 1" },
      { "rear2-slot", [] {}, "modelName = 'FAN-6001-R'" },
      { "rear2-slot", [ & ] { chips->set( 303, "type1", 77 ); }, "status 1" },
      { "spinner-slot", [] {}, "'FAN-7012-F'\nfanTray.serialNum = 'MFS2043A017'" },
      { "spinner-slot", [ & ] { chips->unplug( 425 ); }, "status 1" },
      { "spinner-slot", [ & ] { chips->plug( 425 ); }, "FAN-7012-F" },
      // The mux on the way is silent, not the module.
      { "spinner-slot",
        [ & ] { chips->addFault( 411, { .kind = BoardFiles::FaultKind::kNak, .count = 9 } ); },
        "status 6" },
   };
   for ( const auto& [ name, happens, told ] : rows ) {
      pl_slot* slot = pl_slot_add( object( name ).device.c_str() );
      happens();
      char* text = nullptr;
      pl_status status = slot->ops->get_presence( slot, &text );
      EXPECT_THAT( text ? text : "status " + std::to_string( status ), HasSubstr( told ) ) << name;
      free( text );
   }
}

}  // namespace
