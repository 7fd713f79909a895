#pragma once

#include "Components/HardwareDevice.h"
#include "Components/TempSensor.h"

namespace Drivers {

// TMP75 temperature sensor. Its limits are recorded, not programmed.
class TMP75 : public Component::HardwareDevice {
 public:
   class TempSensor;

   static Component::HardwareDevice* create( const FactoryArgs& args, Ham::Ham* ham );

   // Degrees Celsius from the temperature register, the chip's first byte in the low half.
   static float registerToTemperature( uint16_t word );

   void init() override;
   Component::LogicalDevice::TempSensor* newTempSensor( const DriverArgs& args ) override;
   const Utils::ExpectedValues& expectedValues() override;

   [[nodiscard]] pl_status getTemperature( float* celsius );
};

class TMP75::TempSensor : public Component::LogicalDevice::TempSensor {
 public:
   explicit TempSensor( TMP75* device ) : device_( device ) {}

   [[nodiscard]] pl_status getTemperature( float* celsius ) override {
      return device_->getTemperature( celsius );
   }

 private:
   TMP75* device_;
};

}  // namespace Drivers
