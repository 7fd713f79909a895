#include "Components/Led.h"

#include <iterator>

#include "Components/EntryPoint.h"
#include "Utils/Assert.h"
#include "Utils/LedStatus.h"

pl_status pl_led_init( const char* topologyJson ) {
   return lumenLibraryInit( __FUNCTION__, topologyJson, kInitTries );
}

pl_led* pl_led_add( const char* deviceArgsJson ) {
   using namespace Component;
   auto led =
      LogicalDevice::addObject( deviceArgsJson, &DeviceBase::newLed, { 0, "newLed() failed" } );
   if ( led && led->blinkCapable ) {
      LogicalDevice::Led::createBlinkTimer();
   }
   return LogicalDevice::recordOf( led );
}

namespace Component::LogicalDevice {

const pl_led_ops Led::ops_ = {
   .size = sizeof( pl_led_ops ),
   .set_light_setting = setLightSettingCallback,
};

void* Led::blinkTimer_ = nullptr;
int Led::blinkPeriod_ = 1000;
bool Led::blinkStatus_ = false;
std::list< Led* > Led::notifyList_;

const char* Led::getLedStatusString( pl_led_status status ) {
   LUMEN_ASSERT_TEXT( static_cast< unsigned >( status ) < std::size( Utils::kLedStatusNames ),
                      "( unsigned )status < sizeof ( strs ) / sizeof ( *strs )" );
   return Utils::kLedStatusNames[ status ];
}

void Led::createBlinkTimer() {
   if ( blinkTimer_ ) {
      return;
   }
   pl_trace( 0, "creating unique led blink timer" );
   blinkTimer_ = pl_timer_add( handleBlinkTimerCallback, nullptr );
   if ( !blinkTimer_ ) {
      pl_trace( 0, "failed to create blink timer" );
   }
   LUMEN_ASSERT( blinkTimer_ );
}

void Led::notifyOnBlink( Led* led ) {
   pl_trace( 4, "%s() adding led to blink notification list", __FUNCTION__ );
   LUMEN_ASSERT( blinkTimer_ );
   notifyList_.push_back( led );
   if ( notifyList_.size() == 1 ) {
      pl_timer_set( blinkTimer_, blinkPeriod_ );
   }
}

void Led::handleBlinkTimerCallback( void* ) {
   pl_trace( 4, "%s() led blink timer hit notifying %zu leds", __FUNCTION__, notifyList_.size() );
   for ( auto it = notifyList_.begin(); it != notifyList_.end(); ) {
      if ( ( *it )->handleBlinkTimer( blinkStatus_ ) ) {
         ++it;
         continue;
      }
      // The LED behind a dropped one is not told of this phase; behind a dropped last one the walk
      // goes on at the front.
      it = notifyList_.erase( it );
      it = it == notifyList_.end() ? notifyList_.begin() : std::next( it );
   }
   if ( !notifyList_.empty() ) {
      pl_timer_set( blinkTimer_, blinkPeriod_ );
   }
   blinkStatus_ = !blinkStatus_;
}

}  // namespace Component::LogicalDevice
