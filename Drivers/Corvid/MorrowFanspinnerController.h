#pragma once

#include "Components/Fan.h"
#include "Components/HardwareDevice.h"
#include "Ham/Ham.h"

namespace Drivers {

// Controller of a fan module with an inner and an outer rotor behind one PWM output. A fan takes
// the driver arguments "fanId", "maxRpm" and "minRpm", all required.
class MorrowFanspinnerController : public Component::HardwareDevice {
 public:
   class Fan;

   // The register behind the controller's input pins.
   struct VirtualInput {
      uint8_t latchDuty : 1;          // rising edge: the PWM duty takes effect
      uint8_t sampleTachometers : 1;  // rising edge
      uint8_t others : 6;
   };

   static Component::HardwareDevice* create( const FactoryArgs& args, Ham::Ham* ham );

   Component::LogicalDevice::Fan* newFan( const DriverArgs& args ) override;
   const Utils::ExpectedValues& expectedValues() override;

   [[nodiscard]] pl_status readVirtualInput( VirtualInput* input );
   [[nodiscard]] pl_status writeVirtualInput( VirtualInput input );
};

class MorrowFanspinnerController::Fan : public Component::LogicalDevice::Fan {
 public:
   Fan( MorrowFanspinnerController* device, uint8_t fanId, int maxRpm, int minRpm )
       : fanId_( fanId ), maxRpm_( maxRpm ), minRpm_( minRpm ), device_( device ) {}

   // The inner rotor's speed, 0 where its sample is 0. Takes 53 ms. PL_STATUS_DEVICE_ERROR when a
   // rotor's tachometer does not count.
   [[nodiscard]] pl_status getRpm( int* rpm ) override;
   // Limited to the fan's range.
   [[nodiscard]] pl_status setRpm( int rpm ) override;

 private:
   [[nodiscard]] pl_status initPwm();
   [[nodiscard]] pl_status triggerRpmSample();
   [[nodiscard]] pl_status readRpm( Ham::Ham::Register reg, uint16_t* raw, int* rpm );
   [[nodiscard]] pl_status writeDuty( VirtualInput input, uint8_t duty );
   uint8_t dutyFor( int rpm ) const;

   uint8_t fanId_;
   int maxRpm_;
   int minRpm_;
   uint16_t innerInitial_ = 0;  // tachometer counters
   uint16_t outerInitial_ = 0;
   bool initialised_ = false;
   MorrowFanspinnerController* device_;
};

}  // namespace Drivers
