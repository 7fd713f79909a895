#pragma once

#include "Components/HardwareDevice.h"
#include "Components/TempSensor.h"

namespace Drivers {

// ISL6812x regulators: one output, chosen by the PAGE command before each access, with programmable
// temperature limits.
class Isl6812x : public Component::HardwareDevice {
 public:
   class TempSensor;

   // Command codes of the over-temperature fault and warning limits.
   enum class Threshold : uint8_t { Critical = 0x4F, Alert = 0x51 };

   static Component::HardwareDevice* create( const FactoryArgs& args, Ham::Ham* ham );

   // The page of a sensor is the device's: the latest sensor that names one decides for all.
   Component::LogicalDevice::TempSensor* newTempSensor( const DriverArgs& args ) override;
   const Utils::ExpectedValues& expectedValues() override;

   [[nodiscard]] pl_status setPage_();

   // All in whole degrees.
   [[nodiscard]] pl_status getTemperature( float* celsius );
   [[nodiscard]] pl_status setThreshold( Threshold threshold, float celsius );
   [[nodiscard]] pl_status getThreshold( Threshold threshold, float* celsius );

 private:
   uint8_t page = 0;
};

class Isl6812x::TempSensor : public Component::LogicalDevice::TempSensor {
 public:
   explicit TempSensor( Isl6812x* device ) : device_( device ) {}

   void alertThresholdIs( float value ) override;
   void criticalThresholdIs( float value ) override;
   [[nodiscard]] pl_status getTemperature( float* celsius ) override {
      return device_->getTemperature( celsius );
   }

 private:
   Isl6812x* device_;
};

}  // namespace Drivers
