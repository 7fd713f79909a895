#include "Drivers/TMP46x.h"

#include "Drivers/Arguments.h"
#include "Drivers/Degrees.h"
#include "Drivers/Registers.h"
#include "Utils/Assert.h"

namespace Drivers {

namespace {

// Registers have 16 bits, high byte first. Temperature n is register n, read only.
constexpr uint8_t kLocalLimits = 0x39;
constexpr uint8_t kRemoteLimits = 0x3A;
constexpr uint8_t kRemoteLimitsStride = 8;
constexpr uint8_t kLock = 0xC4;
constexpr uint8_t kDeviceId = 0xFF;  // read only

constexpr uint16_t kUnlockCode = 0xEB19;
constexpr uint16_t kLockCode = 0x5CA6;
constexpr uint16_t kUnlocked = 0x0000;
constexpr uint16_t kLocked = 0x8000;

constexpr uint16_t kPartMask = 0x0FFF;
constexpr uint16_t kTMP464 = 0x464;
constexpr uint16_t kTMP468 = 0x468;
constexpr uint8_t kMostChannels = 8;

uint8_t channelsOf( uint16_t deviceId ) {
   switch ( deviceId & kPartMask ) {
      case kTMP464:
         return 4;
      case kTMP468:
         return kMostChannels;
      default:
         return 0;
   }
}

}  // namespace

Component::HardwareDevice* TMP46x::create( const FactoryArgs&, Ham::Ham* ) {
   return new TMP46x;
}

void TMP46x::init() {
   uint16_t deviceId;
   LUMEN_ASSERT( getDeviceId( &deviceId ) == PL_STATUS_OK );
   maxChannel_ = channelsOf( deviceId );
   if ( maxChannel_ == 0 ) {
      pl_trace( 0, "%s failed, Unknown deviceId: %x", __PRETTY_FUNCTION__, deviceId );
   }
   LUMEN_ASSERT( maxChannel_ != 0 );
   pl_trace( 0, "creating TMP%x", deviceId );
   pl_status res = unlockRegister();
   LUMEN_ASSERT( res == PL_STATUS_OK );
   pl_trace( 0, "TMP46%d registers unlocked for write", maxChannel_ );
}

pl_status TMP46x::getDeviceId( uint16_t* id ) {
   uint16_t word;
   if ( pl_status status = ham()->read16( kDeviceId, &word, kRegSize ) ) {
      return status;
   }
   *id = Utils::byteSwap( word );
   return PL_STATUS_OK;
}

pl_status TMP46x::unlockRegister() {
   return writeLock( kUnlockCode, kUnlocked );
}

pl_status TMP46x::lockRegister() {
   return writeLock( kLockCode, kLocked );
}

pl_status TMP46x::writeLock( uint16_t code, uint16_t expectedState ) {
   pl_status res = write16( ham(), kLock, Utils::byteSwap( code ) );
   LUMEN_ASSERT( res == PL_STATUS_OK );
   uint16_t state;
   res = ham()->read16( kLock, &state, kRegSize );
   if ( res == PL_STATUS_OK ) {
      LUMEN_ASSERT( Utils::byteSwap( state ) == expectedState );
   }
   return res;
}

Component::LogicalDevice::TempSensor* TMP46x::newTempSensor( const DriverArgs& args ) {
   auto channel = static_cast< unsigned >( LUMEN_INT_ARGUMENT( args, "channel" ) );
   LUMEN_ASSERT( channel <= maxChannel_ );
   return new TempSensor( this, static_cast< uint8_t >( channel ) );
}

pl_status TMP46x::getTemperature( uint8_t channel, float* celsius ) {
   pl_trace( 6, "%s: %02x", __PRETTY_FUNCTION__, channel );
   return read128ths( ham(), channel, celsius );
}

pl_status TMP46x::setThreshold( uint8_t channel, Threshold threshold, float celsius ) {
   uint8_t reg = getThresholdRegAddr( channel, threshold );
   return write16( ham(), reg, temperatureToRegister( celsius ) );
}

pl_status TMP46x::getThreshold( uint8_t channel, Threshold threshold, float* celsius ) {
   return read128ths( ham(), getThresholdRegAddr( channel, threshold ), celsius );
}

uint8_t TMP46x::getThresholdRegAddr( uint8_t channel, Threshold threshold ) {
   int base = channel == 0 ? kLocalLimits : kRemoteLimits + kRemoteLimitsStride * channel;
   return static_cast< uint8_t >( base + static_cast< int >( threshold ) );
}

float TMP46x::registerToTemperature( uint16_t word ) {
   return degreesFrom128ths( word );
}

uint16_t TMP46x::temperatureToRegister( float celsius ) {
   return degreesTo128ths( celsius );
}

void TMP46x::TempSensor::alertThresholdIs( float value ) {
   alertThreshold = value;
   LUMEN_ASSERT( device_->setThreshold( id_, Threshold::Alert, value ) == PL_STATUS_OK );
}

void TMP46x::TempSensor::criticalThresholdIs( float value ) {
   criticalThreshold = value;
   LUMEN_ASSERT( device_->setThreshold( id_, Threshold::Overheat, value ) == PL_STATUS_OK );
}

// The lock's entry is wider than the unlocking word, so that the simulation leaves it unlocked.
const Utils::ExpectedValues& TMP46x::expectedValues() {
   static const Utils::ExpectedValues values = [] {
      Utils::ExpectedValues registers = { { kLock, { kUnlocked, 4 } },
                                          { kDeviceId, { Utils::byteSwap( kTMP468 ), 2 } } };
      for ( uint8_t channel = 0; channel <= kMostChannels; ++channel ) {
         registers[ channel ] = { temperatureToRegister( 25 ), 2 };
         for ( Threshold threshold : { Threshold::Overheat, Threshold::Alert } ) {
            registers[ getThresholdRegAddr( channel, threshold ) ] = { temperatureToRegister( 255 ),
                                                                       2 };
         }
      }
      return registers;
   }();
   return values;
}

}  // namespace Drivers
