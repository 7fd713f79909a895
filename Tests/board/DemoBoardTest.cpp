#include <gmock/gmock.h>

#include <algorithm>

#include "BoardFiles/Board.h"
#include "Tests/service/Steps.h"
#include "pl.h"

// The demo board's drivers against its emulated chips, with the library, the service's frames and
// the bus between them.

namespace {

using namespace SmbusService;

// "low=-4 high=85.5"
std::vector< std::pair< std::string, std::string > > pairsOf( const std::string& text ) {
   std::vector< std::pair< std::string, std::string > > pairs;
   for ( const std::string& word : Tests::wordsOf( text ) ) {
      size_t sign = word.find( '=' );
      pairs.emplace_back( word.substr( 0, sign ), word.substr( sign + 1 ) );
   }
   return pairs;
}

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

   pl_temp_sensor* addSensor( const char* name, float alert, float critical ) const {
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

TEST_F( DemoBoardTest, SensorsReadWhatTheChipsMeasureAndProgramTheirLimits ) {
   struct Row {
      const char* object;
      const char* quantity;
      std::string readings;  // what is set, what is read
      float alert, critical;
      std::string programmed;
   };
   const Row rows[] = {
      { "inlet", "temperature", "-40.5=-40.5 99.9375=99.875", 1, 2, "" },
      { "memory", "temperature", "-0.25=-0.25 25.46875=25.25", 70, -10.5,
        "highLimit=-10.5 lowLimit=-10" },
      { "asic-monitor", "temperature0", "-40.0625=-40.0625 255.9375=255.9375", 85, 95.5,
        "therm2Limit0=85 thermLimit0=95.5" },
      { "asic-edge", "temperature8", "61.0625=61.0625", -5.5, 127.5,
        "therm2Limit8=-5.5 thermLimit8=127.5" },
      { "phy1", "temperature1", "0=0 127.875=127.875", 95.9f, 100,
        "alertLimit1=95 overtempLimit1=100" },
      { "phy2", "temperature2", "127=127", 70, 80, "alertLimit2=70" },
      { "phy4", "temperature4", "90=90", 71, 81, "alertLimit4=71 overtempLimit4=81" },
      { "line-card", "temperature7", "38=38", 72, 82, "alertLimit7=72" },
      { "cpu-monitor", "temperature0", "25.125=25.125 127.875=127.875", 95.9f, -5,
        "alertLimit0=95 overtempLimit0=-5" },
      // The diode's over-temperature is programmed where the chip has no register.
      { "cpu-die", "temperature1", "-9.625=-9.625", -6, 80, "alertLimit1=-6 overtempLimit1=85" },
      { "vrm-memory", "temperature", "125=125", 1, 2, "" },
      { "vrm-serdes", "temperature1", "66=66", 105, 120,
        "warningLimit0=110 warningLimit1=105 faultLimit1=120" },
      { "vrm-core1", "temperature1", "61=61", 1, 2, "" },
      { "vrm-core2", "temperature2", "300=300", 1, 2, "" },
   };
   for ( const Row& row : rows ) {
      SCOPED_TRACE( row.object );
      uint32_t did = didOf( row.object );
      pl_temp_sensor* sensor = addSensor( row.object, row.alert, row.critical );
      ASSERT_NE( sensor, nullptr );
      for ( const auto& [ quantity, value ] : pairsOf( row.programmed ) ) {
         EXPECT_EQ( chips->get( did, quantity ), std::stod( value ) ) << quantity;
      }
      for ( const auto& [ value, celsius ] : pairsOf( row.readings ) ) {
         chips->set( did, row.quantity, std::stod( value ) );
         EXPECT_EQ( read( sensor ), std::stof( celsius ) );
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

}  // namespace
