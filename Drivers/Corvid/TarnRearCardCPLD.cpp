#include "Drivers/Corvid/TarnRearCardCPLD.h"

#include <fmt/format.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <memory>

#include "Drivers/Corvid/SettledRead.h"

namespace Drivers {

namespace {

// 8 bits each.
constexpr Ham::Ham::Register kMinor = 0x00;
constexpr Ham::Ham::Register kMajor = 0x01;
constexpr Ham::Ham::Register kOuterTachometer = 0x10;  // low byte, then high byte, of each position
constexpr Ham::Ham::Register kInnerTachometer = 0x20;
constexpr Ham::Ham::Register kOuterDuty = 0x30;  // of each position
constexpr Ham::Ham::Register kInnerDuty = 0x38;
constexpr Ham::Ham::Register kTypeId = 0x41;    // of each position
constexpr Ham::Ham::Register kPresence = 0x49;  // a bit for each position
constexpr Ham::Ham::Register kGood = 0x4A;      // a bit for each position

constexpr int kFanIds = 16;
constexpr int kPositions = 8;

// The tachometer counts clock pulses between two of the fan's.
constexpr int kClock = 100'000;  // hertz
constexpr int kPulses = 2;       // a revolution
constexpr int kRpmCount = 60 * kClock / kPulses;
static_assert( kRpmCount == 3'000'000 );
constexpr int kStopped = 0xFFFF;

constexpr double kLowestSpeed = 0.3;  // as a part of the highest
constexpr double kGreatestDuty = 255;

Ham::Ham::Register tachometerOf( const TarnRearCardCPLD::Fan& fan ) {
   return ( fan.isOuter ? kOuterTachometer : kInnerTachometer ) + 2u * fan.position;
}

Ham::Ham::Register dutyOf( const TarnRearCardCPLD::Fan& fan ) {
   return ( fan.isOuter ? kOuterDuty : kInnerDuty ) + fan.position;
}

bool isFanId( int number ) {
   return number >= 0 && number < kFanIds;
}

bool isPosition( int number ) {
   return number >= 0 && number < kPositions;
}

// The argument's number; without it the complaint is traced before the assertion fails.
int numberOrComplain( const DriverArgs& args, const char* key, const char* complaint ) {
   const std::string* text = findArgument( args.driverArgs, key );
   if ( !text ) {
      pl_trace( 0, "%s", complaint );
      LUMEN_ASSERT( false );
   }
   return Utils::stoi( *text );
}

// Hosts know this line with its unfinished end: the fault register's value is not passed.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat"
void traceFault( uint8_t fanId ) {
   pl_trace( 0, "Fan %hhu detected an error with fault register value: %d", fanId );
}
#pragma GCC diagnostic pop

}  // namespace

Component::HardwareDevice* TarnRearCardCPLD::create( const FactoryArgs&, Ham::Ham* ) {
   pl_trace( 5, "Creating TarnRearCardCPLD device" );
   return new TarnRearCardCPLD;
}

void TarnRearCardCPLD::init() {
   pl_trace( 0, "%s", __PRETTY_FUNCTION__ );
   uint8_t values[ 4 ];
   if ( pl_status status =
           readRegisters( ham(), { kMajor, kMinor, kGreenLeds, kRedLeds }, values ) ) {
      pl_trace( 0, "%s: failed to initialize! Failed to read version with error %d",
                __PRETTY_FUNCTION__, status );
      return;
   }
   major_ = values[ 0 ];
   minor_ = values[ 1 ];
   pl_trace( 0, "%s: CPLD version %02x.%02x", __PRETTY_FUNCTION__, major_, minor_ );
   leds_.prime( values[ 2 ], values[ 3 ] );
}

Component::LogicalDevice::Fan* TarnRearCardCPLD::newFan( const DriverArgs& args ) {
   pl_trace( 0, "%s", __PRETTY_FUNCTION__ );
   auto fan = std::make_unique< Fan >( this );
   LUMEN_ASSERT( parseFanInformation( args.driverArgs, fan->fanId, fan->position, fan->maxRpm,
                                      fan->minRpm, fan->isOuter ) );
   bool present;
   pl_status status = getFanPresence( fan->fanId, fan->position, present );
   if ( !present ) {
      pl_trace( 0, "Fan with fan id %hhu is not present", fan->fanId );
      if ( status == PL_STATUS_OK ) {
         errno = ENODEV;
      }
      return nullptr;
   }
   pl_trace( 0, "Creating new TarnRearCardCPLD Fan id %hhu", fan->fanId );
   return fan.release();
}

Component::LogicalDevice::Led* TarnRearCardCPLD::newLed( const DriverArgs& args ) {
   pl_trace( 0, "%s", __PRETTY_FUNCTION__ );
   int fanId =
      numberOrComplain( args, "fanId", "Error: Failed to find fanId for TarnRearCardCPLD::newLed" );
   int position = numberOrComplain( args, "position",
                                    "Error: expected 'position' in TarnRearCardCPLD::newLed" );
   LUMEN_ASSERT_TEXT( isFanId( fanId ), "fanId < 16" );
   LUMEN_ASSERT_TEXT( isPosition( position ), "position < 8" );
   auto id = static_cast< uint8_t >( fanId );
   auto index = static_cast< uint8_t >( position );
   pl_trace( 0, "Creating new TarnRearCardCPLD Led for Fan id: %hhu, position: %hhu", id, index );
   return new Led( this, id, index );
}

Component::LogicalDevice::Slot* TarnRearCardCPLD::newSlot( const DriverArgs& args ) {
   pl_trace( 0, "%s", __PRETTY_FUNCTION__ );
   int fanId = numberOrComplain( args, "fanId", "Error: expected 'fanId' in driverArgs" );
   int position = numberOrComplain( args, "position", "Error: expected 'position' in driverArgs" );
   LUMEN_ASSERT_TEXT( isFanId( fanId ), "fanId < 16" );
   LUMEN_ASSERT_TEXT( isPosition( position ), "position < 8" );
   auto id = static_cast< uint8_t >( fanId );
   auto bit = static_cast< uint8_t >( position );
   pl_trace( 0, "Creating new TarnRearCardCPLD slot for Fan id: %hhu, position: %hhu", id, bit );
   return new FanSlot( this, id, bit, args.driverArgs );
}

bool TarnRearCardCPLD::parseFanInformation( const Arguments& args,
                                            uint8_t& fanId,
                                            uint8_t& position,
                                            unsigned& maxRpm,
                                            unsigned& minRpm,
                                            bool& isOuter ) {
   int id = Utils::stoi( LUMEN_ARGUMENT( args, "fanId", "fanIdIter != args.end()" ) );
   LUMEN_ASSERT_TEXT( isFanId( id ), "id < 16" );
   fanId = static_cast< uint8_t >( id );
   int place = Utils::stoi( LUMEN_ARGUMENT( args, "position", "posIter != args.end()" ) );
   LUMEN_ASSERT_TEXT( isPosition( place ), "position < 8" );
   position = static_cast< uint8_t >( place );
   const std::string* highest = findArgument( args, "maxRpm" );
   if ( !highest ) {
      return false;
   }
   maxRpm = static_cast< unsigned >( Utils::stoi( *highest ) );
   int lowest = Utils::truncate( kLowestSpeed * maxRpm );
   minRpm = static_cast< unsigned >( argumentOr( args, "minRpm", Utils::stoi, lowest ) );
   const std::string* outer = findArgument( args, "isOuter" );
   if ( !outer ) {
      return false;
   }
   isOuter = Utils::stoi( *outer ) != 0;
   return true;
}

pl_status TarnRearCardCPLD::getFanRpm( const Fan* fan, int* rpm ) {
   Ham::Ham::Register low = tachometerOf( *fan );
   Ham::Ham::Register high = low + 1;
   uint8_t values[ 3 ];
   pl_status status = readRegisters( ham(), { kGood, low, high }, values );
   pl_trace( 8, "%s: Fan %hhu lower reg at 0x%02x and upper reg at 0x%02x", __PRETTY_FUNCTION__,
             fan->fanId, low, high );
   if ( status != PL_STATUS_OK ) {
      pl_trace( 0, "Failed to read fan tach registers 0x%02x, 0x%02x, for Fan %hhu", low, high,
                fan->fanId );
      return status;
   }
   auto [ good, lowValue, highValue ] = values;
   if ( !( good >> fan->position & 1 ) ) {
      traceFault( fan->fanId );
      return PL_STATUS_DEVICE_ERROR;
   }
   pl_trace( 8, "%s: Fan %hhu lower reg val 0x%02x and upper reg val 0x%02x", __PRETTY_FUNCTION__,
             fan->fanId, lowValue, highValue );
   int raw = lowValue | highValue << 8;
   if ( raw == kStopped ) {
      pl_trace( 0, "Fan %hhu detected an error with stuck fan or broken tach signal", fan->fanId );
      return PL_STATUS_DEVICE_ERROR;
   }
   *rpm = raw ? kRpmCount / raw : 0;
   pl_trace( 6, "Fan %hhu is at %d (raw speed), %d rpm, maxRpm of %d rpm, minRpm of %d rpm",
             fan->fanId, raw, *rpm, fan->maxRpm, fan->minRpm );
   return PL_STATUS_OK;
}

pl_status TarnRearCardCPLD::setFanRpm( const Fan* fan, int rpm ) {
   LUMEN_ASSERT( rpm >= 0 );
   auto target = std::max( static_cast< unsigned >( rpm ), fan->minRpm );
   double lowest = fan->minRpm;
   double part = ( target - lowest ) / ( fan->maxRpm - lowest );
   auto pwm = static_cast< uint8_t >( Utils::truncate( part * kGreatestDuty ) );
   pl_trace( 6, "Setting pwm to %hhu (%d rpm) for fan %hhu", pwm, target, fan->fanId );
   pl_status status = write8( ham(), dutyOf( *fan ), pwm );
   pl_trace( 6, "Setting pwm to %hhu (%d rpm) for fan %hhu %s", pwm, target, fan->fanId,
             status == PL_STATUS_OK ? "succeeded!" : "failed!" );
   return status;
}

pl_status TarnRearCardCPLD::getFanPresence( uint8_t slotId, uint8_t bit, bool& present ) {
   present = false;
   std::optional< uint8_t > lines;
   auto traceMismatch = [ slotId, function = __PRETTY_FUNCTION__ ]( uint8_t one, uint8_t other ) {
      pl_trace( 0, "%s FanSlot %d: mismatch in fan presence readings - 0x%02x 0x%02x", function,
                slotId, one, other );
   };
   if ( pl_status status = readSettled( ham(), kPresence, lines, traceMismatch ) ) {
      pl_trace( 0, "Failed to read fan presence register" );
      return status;
   }
   present = lines && *lines >> bit & 1;
   return PL_STATUS_OK;
}

pl_status TarnRearCardCPLD::writeLightSetting( uint8_t index, bool red, bool green ) {
   if ( pl_status status = leds_.ensurePrimed( ham() ) ) {
      return status;
   }
   leds_.light( index, green, red );
   pl_trace( 8, "%s: setting green led reg to 0x%02x", __PRETTY_FUNCTION__, leds_.greenBits );
   pl_trace( 8, "%s: setting red led reg to 0x%02x", __PRETTY_FUNCTION__, leds_.redBits );
   pl_status status = leds_.commit( ham() );
   if ( status != PL_STATUS_OK ) {
      pl_trace( 0, "Tarn rear card driver failed to set led values" );
   }
   return status;
}

pl_status TarnRearCardCPLD::Fan::debugInfo( char** buf ) const {
   *buf = strdup( fmt::format( "Fan {}\nCPLD version:\t{:02}.{:02}\n\n", fanId,
                               device_->versionMajor(), device_->versionMinor() )
                     .c_str() );
   LUMEN_ASSERT( *buf );
   return PL_STATUS_OK;
}

pl_status TarnRearCardCPLD::Led::setLightSetting( pl_led_status status ) {
   pl_trace( 6, "%s: setting CPLD led %hhu to %s", __PRETTY_FUNCTION__, id_,
             getLedStatusString( status ) );
   if ( isBlinking() && status == PL_LED_BEACON ) {
      return PL_STATUS_OK;
   }
   stopBlinking();
   switch ( status ) {
      case PL_LED_OFF:
         return device_->writeLightSetting( index_, false, false );
      case PL_LED_GOOD:
         return device_->writeLightSetting( index_, false, true );
      case PL_LED_BAD:
         return device_->writeLightSetting( index_, true, false );
      case PL_LED_BEACON:
         startBlinking();
         return device_->writeLightSetting( index_, false, false );
      default:
         pl_trace( 0, "%s: received unexpected status for led %hhu", __PRETTY_FUNCTION__, id_ );
         return PL_STATUS_UNSUPPORTED;
   }
}

bool TarnRearCardCPLD::Led::handleBlinkTimer( bool on ) {
   pl_status res = device_->writeLightSetting( index_, false, on );
   LUMEN_ASSERT( res == PL_STATUS_OK );
   return true;
}

// Eight modules of type 1, their fans at tachometer count 300.
const Utils::ExpectedValues& TarnRearCardCPLD::expectedValues() {
   static const Utils::ExpectedValues values = [] {
      Utils::ExpectedValues registers = {
         { kMinor, { 0, 1 } },   { kMajor, { 1, 1 } },        { kPresence, { 0xFF, 1 } },
         { kGood, { 0xFF, 1 } }, { kGreenLeds, { 0xFF, 1 } }, { kRedLeds, { 0xFF, 1 } },
      };
      for ( int position = 0; position < kPositions; ++position ) {
         for ( auto tachometer : { kOuterTachometer, kInnerTachometer } ) {
            registers[ tachometer + 2 * position ] = { 300 & 0xFF, 1 };
            registers[ tachometer + 2 * position + 1 ] = { 300 >> 8, 1 };
         }
         registers[ kOuterDuty + position ] = { 0xFF, 1 };
         registers[ kInnerDuty + position ] = { 0xFF, 1 };
         registers[ kTypeId + position ] = { 1, 1 };
      }
      return registers;
   }();
   return values;
}

}  // namespace Drivers
