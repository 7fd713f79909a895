#pragma once

#include <array>

#include "Components/HardwareDevice.h"
#include "Drivers/Arguments.h"
#include "Drivers/Corvid/BlinkingLed.h"
#include "Drivers/GenericPCA9555.h"

namespace Drivers {

// A status LED of two or three colours on pins of a PCA9555 expander, whose driver arguments
// "bank-io-0" and "bank-io-1" are those of GenericPCA9555.
//
// An LED takes "pinRed" and "pinGreen", and "pinBlue" where there is one: pins 0 to 7 of the bank
// that "bankRed", "bankGreen" and "bankBlue" name (0 when absent). A wrong pin or bank is an
// assertion.
class TarnStatusLed : public Component::HardwareDevice {
 public:
   class StatusLed;

   static Component::HardwareDevice* create( const FactoryArgs& args, Ham::Ham* ham );

   void init() override;
   const Utils::ExpectedValues& expectedValues() override { return pca9555_->expectedValues(); }
   Component::LogicalDevice::Led* newLed( const DriverArgs& args ) override;

   GPIOExpander* expander() { return pca9555_; }

 private:
   explicit TarnStatusLed( GenericPCA9555* pca9555 ) : pca9555_( pca9555 ) {}

   GenericPCA9555* pca9555_;
};

class TarnStatusLed::StatusLed : public BlinkingLed {
 public:
   // Pin levels: red and green are lit by 0, blue by 1.
   struct LightConfig {
      bool blink;
      bool levels[ 3 ];  // red, green, blue
   };
   static const std::array< LightConfig, 8 > configs;  // by pl_led_status
   static const LightConfig redBeaconConfig;           // a beacon without blue

   StatusLed( TarnStatusLed* device, const DriverArgs& args );

   bool handleBlinkTimer( bool on ) override;
   // PL_STATUS_UNSUPPORTED for a status that has no config.
   [[nodiscard]] pl_status setLightSetting( pl_led_status status ) override;

 private:
   struct LedPin {
      uint8_t present : 1;
      uint8_t bank : 1;
      uint8_t pin : 3;
   };
   static_assert( sizeof( LedPin ) == 1 );

   void readPin( const Arguments& args, const std::string& colour, LedPin& pin );
   [[nodiscard]] pl_status writeLightSetting( pl_led_status status );

   GPIOExpander* pca9555_;
   pl_led_status status_ = PL_LED_OFF;  // as requested last
   std::array< LedPin, 3 > ledPins_{};  // red, green, blue
};

}  // namespace Drivers
