#include "Drivers/Max6697.h"

#include "Drivers/Arguments.h"
#include "Drivers/Degrees.h"
#include "Drivers/Registers.h"
#include "Utils/Assert.h"

namespace Drivers {

namespace {

constexpr Ham::Ham::Register kExtended = 0x09;  // 8 bits, fraction of channel 1, read only
constexpr uint8_t kFirstChannel = 1;            // temperature n is register n, 8 bits, read only
constexpr uint8_t kFineChannel = 1;
constexpr uint8_t kLocalChannel = 7;
constexpr uint8_t kInvalid = 0x80;  // never set by a working diode

bool hasLimit( uint8_t channel, Max6697::Threshold threshold ) {
   if ( threshold != Max6697::Threshold::Overheat || channel == 1 ||
        ( channel >= 4 && channel <= 6 ) ) {
      return true;
   }
   pl_trace( 5, "Overheat register not available for %hhu", channel );
   return false;
}

Ham::Ham::Register limitRegister( uint8_t channel, Max6697::Threshold threshold ) {
   return static_cast< uint8_t >( threshold ) + uint32_t{ channel };
}

}  // namespace

Component::HardwareDevice* Max6697::create( const FactoryArgs&, Ham::Ham* ) {
   return new Max6697;
}

// Channels 0 and 7 name the same diode.
Component::LogicalDevice::TempSensor* Max6697::newTempSensor( const DriverArgs& args ) {
   auto channel = static_cast< uint8_t >( LUMEN_INT_ARGUMENT( args, "channel" ) );
   pl_trace( 5, "Creating Max6697 on channel %d", channel );
   LUMEN_ASSERT( channel <= 7 );
   return new TempSensor( this, channel == 0 ? kLocalChannel : channel );
}

pl_status Max6697::getTemperature( uint8_t channel, float* celsius ) {
   pl_trace( 6, "%s: %02x", __PRETTY_FUNCTION__, channel );
   bool isFine = channel == kFineChannel;
   ham()->prepare();
   auto degreesId = ham()->addRead8( channel, kRegSize );
   auto extendedId = isFine ? ham()->addRead8( kExtended, kRegSize ) : degreesId;
   if ( pl_status status = ham()->execute() ) {
      return status;
   }
   Ham::saveReg( ham(), channel );
   uint8_t degrees = ham()->get8( degreesId );
   if ( degrees & kInvalid ) {
      pl_trace( 0, "Incorrect diode%d value %02x", channel, degrees );
   }
   LUMEN_ASSERT( !( degrees & kInvalid ) );
   Ham::saveReg( ham(), kExtended );
   *celsius = degreesFromEighths( degrees, isFine ? ham()->get8( extendedId ) : 0 );
   return PL_STATUS_OK;
}

pl_status Max6697::setThreshold( uint8_t channel, Threshold threshold, float celsius ) {
   if ( !hasLimit( channel, threshold ) ) {
      return PL_STATUS_OK;
   }
   auto reg = limitRegister( channel, threshold );
   return write8( ham(), reg, static_cast< uint8_t >( Utils::truncate( celsius ) ) );
}

pl_status Max6697::getThreshold( uint8_t channel, Threshold threshold, float* celsius ) {
   if ( !hasLimit( channel, threshold ) ) {
      return PL_STATUS_UNSUPPORTED;
   }
   return readWholeDegrees( ham(), limitRegister( channel, threshold ), celsius );
}

void Max6697::TempSensor::alertThresholdIs( float value ) {
   alertThreshold = value;
   LUMEN_ASSERT( device_->setThreshold( id_, Threshold::Alert, value ) == PL_STATUS_OK );
}

void Max6697::TempSensor::criticalThresholdIs( float value ) {
   criticalThreshold = value;
   LUMEN_ASSERT( device_->setThreshold( id_, Threshold::Overheat, value ) == PL_STATUS_OK );
}

const Utils::ExpectedValues& Max6697::expectedValues() {
   static const Utils::ExpectedValues values = [] {
      Utils::ExpectedValues registers = { { kExtended, { 0, 1 } } };
      for ( uint8_t channel = kFirstChannel; channel <= kLocalChannel; ++channel ) {
         registers[ channel ] = { 25, 1 };
         registers[ limitRegister( channel, Threshold::Alert ) ] = { 100, 1 };
      }
      for ( uint8_t channel : { 1, 4, 5, 6 } ) {
         registers[ limitRegister( channel, Threshold::Overheat ) ] = { 110, 1 };
      }
      return registers;
   }();
   return values;
}

}  // namespace Drivers
