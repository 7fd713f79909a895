#include "Drivers/Corvid/QuillonRearCardStatusLed.h"

#include <optional>

#include "Drivers/Arguments.h"
#include "Drivers/Registers.h"

namespace Drivers {

namespace {

constexpr Ham::Ham::Register kLed = 0x63;  // 8 bits; a 0 bit lights
constexpr uint8_t kDark = 0x0F;
constexpr uint8_t kGreen = 0x0E;
constexpr uint8_t kRed = 0x0D;
constexpr uint8_t kAmber = 0x0C;  // both

std::optional< uint8_t > valueFor( pl_led_status status ) {
   switch ( status ) {
      case PL_LED_OFF:
         return kDark;
      case PL_LED_GOOD:
         return kGreen;
      case PL_LED_WARNING:
         return kAmber;
      case PL_LED_BAD:
      case PL_LED_BEACON:
         return kRed;
      default:
         return std::nullopt;
   }
}

}  // namespace

Component::HardwareDevice* QuillonRearCardStatusLed::create( const FactoryArgs&, Ham::Ham* ) {
   pl_trace( 0, "Creating QuillonRearCardStatusLed device" );
   return new QuillonRearCardStatusLed;
}

Component::LogicalDevice::Led* QuillonRearCardStatusLed::newLed( const DriverArgs& args ) {
   const std::string& type = LUMEN_FOUND_ARGUMENT( args, "type" );
   if ( type != "status" ) {
      pl_trace( 0, "Error: failed to find driverArg forQuillonRearCardStatusLed::newLed" );
      LUMEN_ASSERT( false );
   }
   pl_trace( 5, "Creating new QuillonRearCardStatusLed %s LED", type.c_str() );
   return new StatusLed( this );
}

const Utils::ExpectedValues& QuillonRearCardStatusLed::expectedValues() {
   static const Utils::ExpectedValues values = { { kLed, { kDark, 1 } } };
   return values;
}

QuillonRearCardStatusLed::StatusLed::StatusLed( QuillonRearCardStatusLed* device )
    : device_( device ), value_( kDark ) {}

pl_status QuillonRearCardStatusLed::StatusLed::setLightSetting( pl_led_status status ) {
   pl_trace( 6, "Setting QuillonRearCardStatusLed Status Led to %s", getLedStatusString( status ) );
   bool blinks = status == PL_LED_BEACON;
   if ( !blinks ) {
      stopBlinking();
   }
   std::optional< uint8_t > value = valueFor( status );
   if ( !value ) {
      pl_trace( 0, "QuillonRearCardStatusLed was given an unexpected setting %d", status );
      return PL_STATUS_UNSUPPORTED;
   }
   if ( blinks ) {
      startBlinking();
   }
   value_ = *value;
   pl_status res = write8( device_->ham(), kLed, value_ );
   if ( res != PL_STATUS_OK ) {
      pl_trace( 0, "QuillonRearCardStatusLed Status LED: status write failed." );
   }
   return res;
}

bool QuillonRearCardStatusLed::StatusLed::handleBlinkTimer( bool on ) {
   pl_status res = write8( device_->ham(), kLed, on ? value_ : kDark );
   if ( res != PL_STATUS_OK ) {
      pl_trace( 0, "QuillonRearCardStatusLed handleBlinkTimer led write failed." );
   }
   LUMEN_ASSERT( res == PL_STATUS_OK );
   return true;
}

}  // namespace Drivers
