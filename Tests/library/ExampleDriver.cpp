#include "Tests/library/ExampleDriver.h"

#include <algorithm>

#include "Ham/Ham.h"
#include "Ham/SimHam.h"
#include "Utils/Assert.h"
#include "Utils/Numbers.h"

namespace Drivers {

namespace {

constexpr uint8_t kRegSize = 1;
constexpr Ham::Ham::Register kTemperature = 0x00;    // 16 bits, high byte first, read only
constexpr Ham::Ham::Register kConfiguration = 0x01;  // 8 bits
constexpr Ham::Ham::Register kAlertLimit = 0x02;     // 16 bits, high byte first
constexpr uint8_t kContinuous = 0x20;
constexpr float kDegreesPerStep = 1.0f / 256;

}  // namespace

Component::HardwareDevice* XT100::create( const FactoryArgs&, Ham::Ham* ) {
   return new XT100;
}

// The chip sleeps after power-on.
void XT100::init() {
   Ham::saveReg( ham(), kConfiguration );
   if ( ham()->write8( kConfiguration, kContinuous, false, kRegSize ) != PL_STATUS_OK ) {
      pl_trace( 0, "Error: Failed to start conversions of XT100 device" );
   }
}

Component::LogicalDevice::TempSensor* XT100::newTempSensor( const DriverArgs& ) {
   pl_trace( 5, "Creating XT100" );
   return new TempSensor( this );
}

pl_status XT100::getTemperature( float* celsius ) {
   pl_trace( 6, "%s", __PRETTY_FUNCTION__ );
   uint16_t word;
   if ( pl_status status = ham()->read16( kTemperature, &word, kRegSize ) ) {
      pl_trace( 0, "Error: Failed to read temperature for XT100 device" );
      return status;
   }
   *celsius = registerToTemperature( word );
   return PL_STATUS_OK;
}

pl_status XT100::setAlertLimit( float celsius ) {
   Ham::saveReg( ham(), kAlertLimit );
   return ham()->write16( kAlertLimit, temperatureToRegister( celsius ), false, kRegSize );
}

float XT100::registerToTemperature( uint16_t word ) {
   return static_cast< int16_t >( Utils::byteSwap( word ) ) * kDegreesPerStep;
}

uint16_t XT100::temperatureToRegister( float celsius ) {
   int32_t steps = std::clamp( Utils::truncate( celsius / kDegreesPerStep ), INT16_MIN, INT16_MAX );
   return Utils::byteSwap( static_cast< uint16_t >( steps ) );
}

const Utils::ExpectedValues& XT100::expectedValues() {
   static const Utils::ExpectedValues values = {
      { kTemperature, { 0x0019, 2 } },  // 25 degrees
      { kConfiguration, { 0x00, 1 } },
      { kAlertLimit, { 0x0050, 2 } },  // 80 degrees
   };
   return values;
}

// A limit that the chip does not take would let it burn unnoticed.
void XT100::TempSensor::alertThresholdIs( float celsius ) {
   alertThreshold = celsius;
   LUMEN_ASSERT( device_->setAlertLimit( celsius ) == PL_STATUS_OK );
}

pl_status XT100::TempSensor::getTemperature( float* celsius ) {
   return device_->getTemperature( celsius );
}

}  // namespace Drivers
