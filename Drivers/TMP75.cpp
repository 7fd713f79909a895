#include "Drivers/TMP75.h"

#include "Drivers/Degrees.h"
#include "Drivers/Registers.h"
#include "Utils/Assert.h"

namespace Drivers {

namespace {

constexpr Ham::Ham::Register kTemperature = 0x00;    // 16 bits, high byte first, read only
constexpr Ham::Ham::Register kConfiguration = 0x01;  // 8 bits
constexpr uint8_t k11Bits = 0x40;                    // converter resolution

}  // namespace

Component::HardwareDevice* TMP75::create( const FactoryArgs&, Ham::Ham* ) {
   return new TMP75;
}

void TMP75::init() {
   pl_status status = write8( ham(), kConfiguration, k11Bits );
   if ( status != PL_STATUS_OK ) {
      pl_trace( 0, "Error: Failed to set converter resolution for TMP75 device" );
   }
   LUMEN_ASSERT( status == PL_STATUS_OK );
}

Component::LogicalDevice::TempSensor* TMP75::newTempSensor( const DriverArgs& ) {
   pl_trace( 5, "Creating TMP75" );
   return new TempSensor( this );
}

pl_status TMP75::getTemperature( float* celsius ) {
   pl_trace( 6, "%s", __PRETTY_FUNCTION__ );
   uint16_t word;
   if ( pl_status status = ham()->read16( kTemperature, &word, kRegSize ) ) {
      pl_trace( 0, "Error: Failed to read temperature for TMP75 device" );
      return status;
   }
   *celsius = registerToTemperature( word );
   return PL_STATUS_OK;
}

float TMP75::registerToTemperature( uint16_t word ) {
   return degreesFromEighths( static_cast< int8_t >( word & 0xFF ),
                              static_cast< uint8_t >( word >> 8 ) );
}

const Utils::ExpectedValues& TMP75::expectedValues() {
   static const Utils::ExpectedValues values = {
      { kTemperature, { 0x0019, 2 } },  // 25 degrees
      { kConfiguration, { 0x00, 1 } },
   };
   return values;
}

}  // namespace Drivers
