#pragma once

#include <list>

#include "pl.h"

namespace Component::LogicalDevice {

// A status LED. LEDs that blink are told the phase by one timer, common to the process.
class Led {
 public:
   explicit Led( bool canBlink = false );
   virtual ~Led() = default;
   Led( const Led& ) = delete;
   Led& operator=( const Led& ) = delete;

   // The next phase of the common blink; false drops this LED from the notify list.
   virtual bool handleBlinkTimer( bool phase ) = 0;

   virtual pl_status setLightSetting( pl_led_status status ) = 0;

   pl_led* record() { return &record_; }

   static const pl_led_ops ops_;
   static pl_status setLightSettingCallback( pl_led* led, pl_led_status status );

   // The status's name; an unknown status is an assertion.
   static const char* getLedStatusString( pl_led_status status );

   // Creates the common timer unless it exists; failure is an assertion.
   static void createBlinkTimer();

   // Has the LED told of every phase from now on. It must not be on the list already, and the timer
   // must exist.
   static void notifyOnBlink( Led* led );

   static void handleBlinkTimerCallback( void* );

 private:
   pl_led record_;

 public:
   bool blinkCapable;  // whether the LED may ever blink

 protected:
   static void* blinkTimer_;
   static int blinkPeriod_;   // milliseconds
   static bool blinkStatus_;  // the phase that the next tick announces
   static std::list< Led* > notifyList_;
};

}  // namespace Component::LogicalDevice
