#pragma once

#include <list>

#include "Components/LogicalDevice.h"

namespace Component::LogicalDevice {

// A status LED. LEDs that blink are told the phase by one timer, common to the process.
class Led {
 public:
   explicit Led( bool canBlink = false ) : blinkCapable( canBlink ) {}
   virtual ~Led() = default;

   // The next phase of the common blink; false drops this LED from the notify list.
   virtual bool handleBlinkTimer( bool phase ) = 0;

   [[nodiscard]] virtual pl_status setLightSetting( pl_led_status status ) = 0;

   pl_led* record() { return record_.get(); }

   static constexpr auto setLightSettingCallback =
      callback< pl_led, "setLightSettingCallback", &Led::setLightSetting, TraceValue >;
   static const pl_led_ops ops_;

   // The status's name; an unknown status is an assertion.
   static const char* getLedStatusString( pl_led_status status );

   // Creates the common timer unless it exists; failure is an assertion.
   static void createBlinkTimer();

   // Has the LED told of every phase from now on. It must not be on the list already, and the timer
   // must exist.
   static void notifyOnBlink( Led* led );

   static void handleBlinkTimerCallback( void* );

 private:
   HostRecord< pl_led > record_{ &ops_, this };

 public:
   bool blinkCapable;  // whether the LED may ever blink

 protected:
   static void* blinkTimer_;
   static int blinkPeriod_;   // milliseconds
   static bool blinkStatus_;  // the phase that the next tick announces
   static std::list< Led* > notifyList_;
};

}  // namespace Component::LogicalDevice
