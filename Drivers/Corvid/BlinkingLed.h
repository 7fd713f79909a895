#pragma once

#include "Components/Led.h"

namespace Drivers {

// An LED that may blink. It is on the common notify list once, from the setting that starts the
// blinking until the one that ends it.
class BlinkingLed : public Component::LogicalDevice::Led {
 protected:
   BlinkingLed() : Led( true ) {}

   bool isBlinking() const { return blinking_; }

   void startBlinking() {
      if ( !blinking_ ) {
         notifyOnBlink( this );
         blinking_ = true;
      }
   }

   void stopBlinking() {
      if ( blinking_ ) {
         notifyList_.remove( this );
         blinking_ = false;
      }
   }

 private:
   bool blinking_ = false;
};

}  // namespace Drivers
