#include "Components/HardwareDevice.h"
#include "Components/Led.h"
#include "Ham/Ham.h"

// A driver for the tests: an LED on pin 0 of a PCA9555, which blinks when it is a beacon.
namespace {

constexpr Ham::Ham::Register kOutput = 0x02;
constexpr uint8_t kRegSize = 1;

class BlinkingLed : public Component::HardwareDevice {
 public:
   class Led : public Component::LogicalDevice::Led {
    public:
      explicit Led( Ham::Ham* ham ) : Component::LogicalDevice::Led( true ), ham_( ham ) {}

      bool handleBlinkTimer( bool phase ) override {
         return ham_->write8( kOutput, phase, false, kRegSize ) == PL_STATUS_OK;
      }
      pl_status setLightSetting( pl_led_status status ) override {
         if ( status == PL_LED_BEACON ) {
            notifyOnBlink( this );
         }
         return ham_->write8( kOutput, status != PL_LED_OFF, false, kRegSize );
      }

    private:
      Ham::Ham* ham_;
   };

   Component::LogicalDevice::Led* newLed( const DriverArgs& ) override { return new Led( ham() ); }
};

// Linked behind the registry, so that the registry exists already.
const bool registered = [] {
   Drivers::drivers[ "BlinkingLed" ] = []( const auto&, Ham::Ham* ) { return new BlinkingLed; };
   return true;
}();

}  // namespace
