#pragma once

#include "Components/HardwareDevice.h"
#include "Components/TempSensor.h"

namespace Drivers {

// XT100 temperature sensor: one channel with an alert limit in the chip. A critical limit is
// recorded only.
class XT100 : public Component::HardwareDevice {
 public:
   class TempSensor;

   static Component::HardwareDevice* create( const FactoryArgs& args, Ham::Ham* ham );

   // Between degrees Celsius and a register's word, the chip's first byte in the low half. Degrees
   // beyond the chip's range become its ends.
   static float registerToTemperature( uint16_t word );
   static uint16_t temperatureToRegister( float celsius );

   void init() override;
   Component::LogicalDevice::TempSensor* newTempSensor( const DriverArgs& args ) override;
   const Utils::ExpectedValues& expectedValues() override;

   pl_status getTemperature( float* celsius );
   pl_status setAlertLimit( float celsius );
};

class XT100::TempSensor : public Component::LogicalDevice::TempSensor {
 public:
   explicit TempSensor( XT100* device ) : device_( device ) {}

   void alertThresholdIs( float celsius ) override;
   pl_status getTemperature( float* celsius ) override;

 private:
   XT100* device_;
};

}  // namespace Drivers
