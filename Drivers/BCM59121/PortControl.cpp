#include <cmath>

#include "Drivers/BCM59121/Answers.h"
#include "Drivers/BCM59121/Commands.h"
#include "Drivers/BCM59121/PoePort.h"
#include "Utils/Numbers.h"

// What the host sets.

namespace Drivers {

namespace {

constexpr uint16_t kWait = 1;  // units of 4 ms until a setting is acknowledged

// Values of the settings.
constexpr uint8_t kNow = 1;           // of kPortOn and kPortOff
constexpr uint8_t kFourPoint = 2;     // of kDetectionType
constexpr uint8_t kClassLimit = 1;    // of kLimitType
constexpr uint8_t kUserLimit = 2;     // of kLimitType
constexpr uint8_t kOfController = 1;  // of kCrcAutocorrect

constexpr double kLimitMargin = 1.03;  // for what the cable takes
constexpr double kLimitStepsPerWatt = 5.0;

// Of a shut-off mask. The number of a supply is shifted twice.
constexpr unsigned kAnySupply = 1;
constexpr unsigned kSupplies = 3;
constexpr unsigned bitOfSupply( unsigned supply ) {
   return supply < kSupplies ? 1u << ( 1u << supply ) : 0;
}
static_assert( bitOfSupply( 0 ) == 0x02 && bitOfSupply( 1 ) == 0x04 && bitOfSupply( 2 ) == 0x10 );

uint8_t withBits( uint8_t mask, unsigned bits, bool isSet ) {
   return static_cast< uint8_t >( isSet ? mask | bits : mask & ~bits );
}

}  // namespace

pl_status BCM59121::setPse( PoePort* port, bool enable ) {
   LUMEN_TRACE_PORT_OPERATION( "setPse", ", bool" );
   return configPort( port, Poe::kPortEnable, enable, kWait );
}

pl_status BCM59121::powerOn( PoePort* port, bool on ) {
   LUMEN_TRACE_PORT_OPERATION( "powerOn", ", bool" );
   return configPort( port, on ? Poe::kPortOn : Poe::kPortOff, kNow, kWait );
}

pl_status BCM59121::setLegacyDetect( PoePort* port, bool enable ) {
   LUMEN_TRACE_PORT_OPERATION( "setLegacyDetect", ", bool" );
   auto type = static_cast< uint8_t >( kFourPoint + enable );
   return configPort( port, Poe::kDetectionType, type, kWait );
}

pl_status BCM59121::setShutOffWithPsu( PoePort* port, uint8_t psu, bool enable ) {
   LUMEN_TRACE_PORT_OPERATION( "setShutOffWithPsu", ", uint8_t, bool" );
   if ( pl_status status = refusal( port ) ) {
      return status;
   }
   unsigned bits = mpssValueZero ? kAnySupply : bitOfSupply( psu );
   uint8_t mask = psuShutOff[ port->id ];
   uint8_t wanted = withBits( mask, bits, enable );
   bool isKnown = !isShutOffUnsure_[ port->id ];
   return isKnown && wanted == mask ? PL_STATUS_OK : sendShutOffMask( port, wanted );
}

// A mask whose acknowledgement is lost may be the controller's or not: it is sent again.
pl_status BCM59121::sendShutOffMask( PoePort* port, uint8_t mask ) {
   pl_status status = configPort( port, Poe::kShutOffMask, mask, kWait );
   isShutOffUnsure_[ port->id ] = status != PL_STATUS_OK;
   if ( status == PL_STATUS_OK ) {
      psuShutOff[ port->id ] = mask;
   }
   return status;
}

pl_status BCM59121::setPowerLimit( PoePort* port, pl_poe_power_limit_mode mode, float watts ) {
   LUMEN_TRACE_PORT_OPERATION( "setPowerLimit", ", pl_poe_power_limit_mode, float" );
   if ( mode == PL_POE_LIMIT_CLASS ) {
      return configPort( port, Poe::kLimitType, kClassLimit, kWait );
   }
   auto limit = static_cast< float >( watts * kLimitMargin );
   if ( hasTwoChannels( port ) ) {
      PoeCache answers;
      if ( pl_status status = fetch( port, { channelsOf( port ) }, &answers ) ) {
         return status;
      }
      if ( Poe::takesHalfLimit( Poe::Channels( answers.channels.response ).alternative ) ) {
         limit /= 2;
      }
   }
   auto steps =
      static_cast< uint8_t >( Utils::truncate( std::ceil( limit * kLimitStepsPerWatt ) ) );
   if ( pl_status status = configPort( port, Poe::kLimit, steps, kWait ) ) {
      return status;
   }
   return configPort( port, Poe::kLimitType, kUserLimit, kWait );
}

pl_status BCM59121::setCrcAutocorrect( bool on ) {
   pl_trace( 6, "%s", __PRETTY_FUNCTION__ );
   bool value = on || hasFirmwarePath;
   if ( value == crcAutocorrectOn ) {
      return PL_STATUS_OK;
   }
   if ( pl_status status = tell( Poe::kCrcAutocorrect, { kOfController, value }, kWait ) ) {
      return status;
   }
   pl_trace( 0, "CRC autocorrect has been %s.", value ? "enabled" : "disabled" );
   crcAutocorrectOn = value;
   return PL_STATUS_OK;
}

}  // namespace Drivers
