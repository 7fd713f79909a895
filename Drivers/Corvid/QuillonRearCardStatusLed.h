#pragma once

#include "Components/HardwareDevice.h"
#include "Drivers/Corvid/BlinkingLed.h"

namespace Drivers {

// The status LED of a rear card, green and red, behind one CPLD register. The driver argument
// "type" must be "status".
class QuillonRearCardStatusLed : public Component::HardwareDevice {
 public:
   class StatusLed;

   static Component::HardwareDevice* create( const FactoryArgs& args, Ham::Ham* ham );

   Component::LogicalDevice::Led* newLed( const DriverArgs& args ) override;
   const Utils::ExpectedValues& expectedValues() override;
};

class QuillonRearCardStatusLed::StatusLed : public BlinkingLed {
 public:
   explicit StatusLed( QuillonRearCardStatusLed* device );

   bool handleBlinkTimer( bool on ) override;
   // PL_STATUS_UNSUPPORTED for settings that the LED cannot show.
   [[nodiscard]] pl_status setLightSetting( pl_led_status status ) override;

 private:
   QuillonRearCardStatusLed* device_;
   uint8_t value_;  // of the register, while lit
};

}  // namespace Drivers
