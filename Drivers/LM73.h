#pragma once

#include <array>

#include "Components/HardwareDevice.h"
#include "Components/TempSensor.h"

namespace Drivers {

// LM73 temperature sensor. Its critical threshold is programmed, the alert threshold recorded.
class LM73 : public Component::HardwareDevice {
 public:
   class TempSensor;

   enum class Resolution : uint8_t {
      QuarterDegree,
      EighthDegree,
      SixteenthDegree,
      ThirtySecondDegree
   };

   // std::invalid_argument for a resolution that the chip does not have.
   static Component::HardwareDevice* create( const FactoryArgs& args, Ham::Ham* ham );

   // A limit register's word, which has the coarsest resolution.
   static uint16_t limitToRegister( float celsius );

   LM73( Resolution resolution, bool invertAlertPolarity );

   void init() override;
   // One sensor only.
   Component::LogicalDevice::TempSensor* newTempSensor( const DriverArgs& args ) override;
   const Utils::ExpectedValues& expectedValues() override;

   // The resolution asked for at creation until setResolution() applies one.
   Resolution resolution() const { return resolution_; }
   [[nodiscard]] pl_status setResolution( Resolution resolution );

   [[nodiscard]] pl_status getTemperature( float* celsius );

   // The high limit; the low limit is set 5 % below it.
   [[nodiscard]] pl_status setThreshold( float celsius );
   [[nodiscard]] pl_status getThreshold( float* celsius );

 private:
   // The bits of the temperature register that are measured, for each resolution.
   static constexpr std::array< uint16_t, 4 > tempMask_ = { 0xFFE0, 0xFFF0, 0xFFF8, 0xFFFC };

   TempSensor* instance_ = nullptr;
   Resolution resolution_;
   uint8_t control_;
   uint8_t configuration_;
};

class LM73::TempSensor : public Component::LogicalDevice::TempSensor {
 public:
   explicit TempSensor( LM73* device ) : device_( device ) {}

   void criticalThresholdIs( float value ) override;
   [[nodiscard]] pl_status getTemperature( float* celsius ) override {
      return device_->getTemperature( celsius );
   }

 private:
   LM73* device_;
};

}  // namespace Drivers
