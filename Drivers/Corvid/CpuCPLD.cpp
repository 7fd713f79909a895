#include "Drivers/Corvid/CpuCPLD.h"

#include <algorithm>
#include <cerrno>
#include <memory>

#include "Drivers/Registers.h"

namespace Drivers {

namespace {

// 8 bits each.
constexpr Ham::Ham::Register kTachometer = 0x00;  // low byte, then high byte, of each fan
constexpr Ham::Ham::Register kDuty = 0x10;        // of each fan
constexpr Ham::Ham::Register kType = 0x18;        // of each module
constexpr Ham::Ham::Register kRunning = 0x20;     // a bit for each fan
constexpr Ham::Ham::Register kAbsent = 0x21;      // a bit for each module
constexpr Ham::Ham::Register kRevision = 0x40;

constexpr int kFans = 8;

// Of a module's type.
constexpr uint8_t kGenerationShift = 1;
constexpr uint8_t kGenerationMask = 3;
constexpr uint8_t kSecondGeneration = 2;
constexpr uint8_t kSimulatedType = 0x01;  // of the first generation, front to back

constexpr double kSecondsPerMinute = 60;

// Speeds as parts of the highest: what a fan does at duty 0, and what the duty controls.
constexpr double kIdleSpeed = 0.3;
constexpr double kControlledSpeed = 0.7;

// One step of the duty register, and its full scale.
constexpr double kDutyStep = 0.0039;
constexpr double kGreatestDuty = 0.9945;
static_assert( static_cast< int >( kGreatestDuty / kDutyStep ) == 255 );

bool isSet( uint8_t bits, uint8_t index ) {
   return bits >> index & 1;
}

uint8_t checkedFanId( int fanId ) {
   LUMEN_ASSERT( fanId >= 1 && fanId <= kFans );
   return static_cast< uint8_t >( fanId );
}

uint8_t indexOf( uint8_t fanId ) {
   return static_cast< uint8_t >( fanId - 1 );
}

}  // namespace

Component::HardwareDevice* CpuCPLD::create( const FactoryArgs&, Ham::Ham* ) {
   pl_trace( 5, "Creating CpuCPLD device" );
   return new CpuCPLD;
}

void CpuCPLD::init() {
   uint8_t values[ 3 ];
   if ( readRegisters( ham(), { kRevision, kGreenLeds, kRedLeds }, values ) != PL_STATUS_OK ) {
      return;
   }
   pl_trace( 5, "CPLD revision %02x", values[ 0 ] );
   leds_.prime( values[ 1 ], values[ 2 ] );
}

Component::LogicalDevice::Led* CpuCPLD::newLed( const DriverArgs& args ) {
   uint8_t fanId = checkedFanId( LUMEN_INT_ARGUMENT( args, "fanId" ) );
   pl_trace( 5, "creating new CpuCPLD led for fan id %hhu", fanId );
   return new Led( this, indexOf( fanId ) );
}

Component::LogicalDevice::Fan* CpuCPLD::newFan( const DriverArgs& args ) {
   uint8_t fanId = checkedFanId( LUMEN_INT_ARGUMENT( args, "fanId" ) );
   pl_trace( 5, "creating new CpuCPLD fan id %hhu", fanId );
   bool present;
   uint8_t type;
   if ( getFanPresence( indexOf( fanId ), present, type ) != PL_STATUS_OK ) {
      return nullptr;
   }
   if ( !present ) {
      errno = ENODEV;
      return nullptr;
   }
   auto fan = std::make_unique< Fan >( this, indexOf( fanId ) );
   double p;
   double i;
   parseFanInformation( type, args.driverArgs, nullptr, &fan->maxRpm, &fan->minRpm, &p, &i,
                        &fan->pulsesPerRevolution, &fan->fanSample );
   return fan.release();
}

Component::LogicalDevice::Slot* CpuCPLD::newSlot( const DriverArgs& args ) {
   uint8_t fanId = checkedFanId( LUMEN_INT_ARGUMENT( args, "fanId" ) );
   pl_trace( 5, "creating new CpuCPLD slot for fan id %hhu", fanId );
   return new Slot( this, indexOf( fanId ), args );
}

pl_status CpuCPLD::commitLedStatus() {
   return leds_.commit( ham() );
}

pl_status CpuCPLD::setLed( uint8_t index, bool isGreen, bool isRed ) {
   if ( pl_status status = leds_.ensurePrimed( ham() ) ) {
      return status;
   }
   leds_.light( index, isGreen, isRed );
   return commitLedStatus();
}

pl_status CpuCPLD::setLedAmber( uint8_t index ) {
   return setLed( index, true, true );
}

pl_status CpuCPLD::setLedRed( uint8_t index ) {
   return setLed( index, false, true );
}

pl_status CpuCPLD::setLedGreen( uint8_t index ) {
   return setLed( index, true, false );
}

pl_status CpuCPLD::setLedOff( uint8_t index ) {
   return setLed( index, false, false );
}

pl_status CpuCPLD::getFanRpm( Fan* fan, int* rpm ) {
   uint8_t index = fan->index;
   Ham::Ham::Register low = kTachometer + 2u * index;
   uint8_t values[ 4 ];
   if ( pl_status status = readRegisters( ham(), { kAbsent, kRunning, low, low + 1 }, values ) ) {
      return status;
   }
   if ( isSet( values[ 0 ], index ) ) {
      pl_trace( 6, "Fan %hhu no longer present", index );
      return PL_STATUS_ABSENT;
   }
   if ( !isSet( values[ 1 ], index ) ) {
      pl_trace( 0, "Fan %hhu detected an error", index );
      return PL_STATUS_DEVICE_ERROR;
   }
   auto tach = static_cast< uint16_t >( values[ 3 ] << 8 | values[ 2 ] );
   *rpm = Utils::truncate( fan->fanSample * kSecondsPerMinute / tach / fan->pulsesPerRevolution );
   pl_trace( 6, "Fan %hhu is at %d rpm (tach %hu)", index, *rpm, tach );
   return PL_STATUS_OK;
}

pl_status CpuCPLD::setFanRpm( Fan* fan, int rpm ) {
   int target = std::max( rpm, fan->minRpm );
   uint8_t duty = dutyFor( target, fan->maxRpm );
   pl_trace( 6, "Setting duty cycle to %hhu (%d rpm) for fan %hhu", duty, target, fan->index );
   return write8( ham(), kDuty + fan->index, duty );
}

uint8_t CpuCPLD::dutyFor( int rpm, int maxRpm ) {
   double controlled = std::max( rpm / static_cast< double >( maxRpm ) - kIdleSpeed, 0.0 );
   double duty = std::min( controlled / kControlledSpeed, kGreatestDuty );
   return static_cast< uint8_t >( Utils::truncate( duty / kDutyStep ) );
}

pl_status CpuCPLD::getFanPresence( uint8_t index, bool& present, uint8_t& type ) {
   uint8_t values[ 2 ];
   if ( pl_status status = readRegisters( ham(), { kAbsent, kType + index }, values ) ) {
      return status;
   }
   present = !isSet( values[ 0 ], index );
   type = values[ 1 ];
   return PL_STATUS_OK;
}

bool parseFanInformation( uint8_t type,
                          const Arguments& args,
                          std::string* name,
                          int* maxRpm,
                          int* minRpm,
                          double* p,
                          double* i,
                          double* pulsesPerRevolution,
                          double* fanSample ) {
   bool isSecond = ( type >> kGenerationShift & kGenerationMask ) == kSecondGeneration;
   const Requirement isThere{ "it != args.end()", __PRETTY_FUNCTION__, __FILE__, __LINE__ };
   auto text = [ & ]( const char* key ) -> const std::string& {
      return requiredArgument( args, ( std::string( isSecond ? "G2" : "G1" ) + key ).c_str(),
                               isThere );
   };
   auto take = [ &text ]( const char* key, auto* output, auto convert ) {
      if ( output ) {
         *output = convert( text( key ) );
      }
   };
   if ( name ) {
      *name = text( "name" );
      std::ranges::replace( *name, '?', CpuCPLD::isFrontToBack( type ) ? 'F' : 'R' );
   }
   take( "maxRpm", maxRpm, Utils::stoi );
   take( "minRpm", minRpm, Utils::stoi );
   take( "p", p, Utils::stod );
   take( "i", i, Utils::stod );
   take( "pulsesPerRevolution", pulsesPerRevolution, Utils::stod );
   take( "fanSample", fanSample, Utils::stod );
   return true;
}

pl_status CpuCPLD::Led::setLightSetting( pl_led_status status ) {
   pl_trace( 6, "setting CPLD led %hhu to %s", index_, getLedStatusString( status ) );
   if ( isBlinking() && status == PL_LED_BEACON ) {
      return PL_STATUS_OK;
   }
   stopBlinking();
   switch ( status ) {
      case PL_LED_OFF:
         return device_->setLedOff( index_ );
      case PL_LED_GOOD:
         return device_->setLedGreen( index_ );
      case PL_LED_WARNING:
         return device_->setLedAmber( index_ );
      case PL_LED_BAD:
         return device_->setLedRed( index_ );
      case PL_LED_BEACON:
         startBlinking();
         return device_->setLedOff( index_ );
      default:
         pl_trace( 6, "led %hhu was given an unexpected setting %d", index_, status );
         return PL_STATUS_UNSUPPORTED;
   }
}

bool CpuCPLD::Led::handleBlinkTimer( bool phase ) {
   pl_status res = phase ? device_->setLedRed( index_ ) : device_->setLedOff( index_ );
   LUMEN_ASSERT( res == PL_STATUS_OK );
   return true;
}

// Eight modules of the first generation, fans at tachometer count 3000.
const Utils::ExpectedValues& CpuCPLD::expectedValues() {
   static const Utils::ExpectedValues values = [] {
      Utils::ExpectedValues registers = {
         { kRunning, { 0xFF, 1 } }, { kAbsent, { 0x00, 1 } },   { kGreenLeds, { 0xFF, 1 } },
         { kRedLeds, { 0xFF, 1 } }, { kRevision, { 0x01, 1 } },
      };
      for ( uint32_t fan = 0; fan < kFans; ++fan ) {
         registers[ kTachometer + 2 * fan ] = { 3000 & 0xFF, 1 };
         registers[ kTachometer + 2 * fan + 1 ] = { 3000 >> 8, 1 };
         registers[ kDuty + fan ] = { 0xFF, 1 };
         registers[ kType + fan ] = { kSimulatedType, 1 };
      }
      return registers;
   }();
   return values;
}

}  // namespace Drivers
