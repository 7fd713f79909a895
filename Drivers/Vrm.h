#pragma once

#include "Components/HardwareDevice.h"
#include "Components/TempSensor.h"

namespace Drivers {

// PMBus voltage regulators that report temperatures in whole degrees. Limits are recorded, not
// programmed.
class Vrm : public Component::HardwareDevice {
 public:
   class TempSensor;

   Component::LogicalDevice::TempSensor* newTempSensor( const DriverArgs& args ) override;

   // `celsius` is written also on failure.
   [[nodiscard]] pl_status readTemperature( uint8_t reg, float* celsius );

   virtual bool channelIsValid( uint8_t channel ) = 0;

 protected:
   // The command that reads a channel.
   static uint8_t temperatureCommand( uint8_t channel );
};

class Vrm::TempSensor : public Component::LogicalDevice::TempSensor {
 public:
   TempSensor( Vrm* device, uint8_t command ) : device_( device ), reg( command ) {}

   [[nodiscard]] pl_status getTemperature( float* celsius ) override {
      return device_->readTemperature( reg, celsius );
   }

 private:
   Vrm* device_;
   uint8_t reg;
};

}  // namespace Drivers
