#pragma once

#include "Components/HardwareDevice.h"
#include "Components/TempSensor.h"

namespace Drivers {

// MAX6658 temperature monitor: its own diode is channel 0, a remote one channel 1.
class Max6658 : public Component::HardwareDevice {
 public:
   class TempSensor;

   enum class DiodeType : uint8_t { local = 0, remote = 1 };
   enum class Threshold : uint8_t { Alert = 0, Overtemp1 = 1 };

   static Component::HardwareDevice* create( const FactoryArgs& args, Ham::Ham* ham );

   void init() override;
   Component::LogicalDevice::TempSensor* newTempSensor( const DriverArgs& args ) override;
   const Utils::ExpectedValues& expectedValues() override;

   // PL_STATUS_IO_ERROR for a faulty diode.
   [[nodiscard]] pl_status getTemperature( DiodeType type, float* celsius );

   // Limits are whole degrees, reported without a sign.
   [[nodiscard]] pl_status setThreshold( DiodeType type, Threshold threshold, float celsius );
   [[nodiscard]] pl_status getThreshold( DiodeType type, Threshold threshold, float* celsius );
};

class Max6658::TempSensor : public Component::LogicalDevice::TempSensor {
 public:
   TempSensor( Max6658* device, DiodeType type ) : device_( device ), type_( type ) {}

   void alertThresholdIs( float value ) override;
   void criticalThresholdIs( float value ) override;
   [[nodiscard]] pl_status getTemperature( float* celsius ) override {
      return device_->getTemperature( type_, celsius );
   }

 private:
   Max6658* device_;
   DiodeType type_;
};

}  // namespace Drivers
