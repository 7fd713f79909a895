#pragma once

#include "Components/HardwareDevice.h"
#include "Components/TempSensor.h"

namespace Drivers {

// MAX6697 temperature monitor: remote diodes are channels 1 to 6, its own is channel 7.
class Max6697 : public Component::HardwareDevice {
 public:
   class TempSensor;

   // The base of the limit registers, to which the channel is added.
   enum class Threshold : uint8_t { Alert = 0x10, Overheat = 0x20 };

   static Component::HardwareDevice* create( const FactoryArgs& args, Ham::Ham* ham );

   Component::LogicalDevice::TempSensor* newTempSensor( const DriverArgs& args ) override;
   const Utils::ExpectedValues& expectedValues() override;

   [[nodiscard]] pl_status getTemperature( uint8_t channel, float* celsius );

   // Limits are whole degrees. Channels 2, 3 and 7 have no Overheat limit: setting it does nothing,
   // getting it is PL_STATUS_UNSUPPORTED.
   [[nodiscard]] pl_status setThreshold( uint8_t channel, Threshold threshold, float celsius );
   [[nodiscard]] pl_status getThreshold( uint8_t channel, Threshold threshold, float* celsius );
};

class Max6697::TempSensor : public Component::LogicalDevice::TempSensor {
 public:
   TempSensor( Max6697* device, uint8_t id ) : device_( device ), id_( id ) {}

   void alertThresholdIs( float value ) override;
   void criticalThresholdIs( float value ) override;
   [[nodiscard]] pl_status getTemperature( float* celsius ) override {
      return device_->getTemperature( id_, celsius );
   }

 private:
   Max6697* device_;
   uint8_t id_;  // channel
};

}  // namespace Drivers
