#include <gmock/gmock.h>

#include <memory>

#include "Tests/library/ExampleDriver.h"
#include "Tests/support/FakeDevice.h"

using ::testing::ElementsAre;

namespace {

class XT100Test : public testing::Test {
 protected:
   XT100Test() {
      Drivers::drivers[ "XT100" ] = Drivers::XT100::create;  // a row of Drivers/Registry.cpp
      device = Tests::createDevice( "XT100", ham );
      sensor.reset( device->newTempSensor( {} ) );
   }

   Tests::FakeHam ham;
   Component::HardwareDevice* device;
   std::unique_ptr< Component::LogicalDevice::TempSensor > sensor;
   float reading = 0;
};

TEST_F( XT100Test, ReadsSignedTemperaturesOnceConversionsRun ) {
   const std::pair< const char*, float > rows[] = {
      { "1980", 25.5f }, { "ffff", -1.0f / 256 }, { "8000", -128.0f }, { "7fff", 127.99609375f } };
   for ( const auto& [ bytes, celsius ] : rows ) {
      ham.load( 0x00, bytes );
      EXPECT_EQ( sensor->getTemperature( &reading ), PL_STATUS_OK );
      EXPECT_EQ( reading, celsius ) << bytes;
   }
   EXPECT_THAT( ham.log, ElementsAre( "W8 01=20", "R16 00", "R16 00", "R16 00", "R16 00" ) );
}

TEST_F( XT100Test, ProgramsTheAlertLimitWithinTheRangeOfTheChip ) {
   ham.log.clear();
   for ( float celsius : { 80.5f, -0.25f, 1000.0f, -1000.0f } ) {
      sensor->alertThresholdIs( celsius );
   }
   sensor->criticalThresholdIs( 90 );
   EXPECT_THAT( ham.log,
                ElementsAre( "W16 02=5080", "W16 02=ffc0", "W16 02=7fff", "W16 02=8000" ) );
}

TEST_F( XT100Test, ReportsAFailedReadingAndEndsTheProcessOverAFailedLimit ) {
   ham.failOn( "R16 00", PL_STATUS_FAILURE );
   ham.failOn( "W16 02", PL_STATUS_IO_ERROR );
   EXPECT_EQ( sensor->getTemperature( &reading ), PL_STATUS_FAILURE );
   EXPECT_EQ( reading, 0 );
   EXPECT_DEATH( sensor->alertThresholdIs( 80 ), "ExampleDriver.cpp.*setAlertLimit" );
}

TEST_F( XT100Test, DeclaresEveryRegisterThatItUses ) {
   ham.load( 0x00, "1900" );
   sensor->alertThresholdIs( 80 );
   sensor->getTemperature( &reading );
   for ( const std::string& line : ham.log ) {
      auto reg =
         static_cast< uint32_t >( std::stoul( line.substr( line.find( ' ' ) ), nullptr, 16 ) );
      EXPECT_TRUE( device->expectedValues().contains( reg ) ) << line;
   }
}

}  // namespace
