#include "Drivers/Corvid/MorrowFanspinnerController.h"

#include <algorithm>
#include <bit>
#include <chrono>
#include <thread>

#include "Drivers/Arguments.h"
#include "Drivers/Registers.h"

namespace Drivers {

namespace {

constexpr Ham::Ham::Register kPwm = 0xC0;           // 8 bits
constexpr Ham::Ham::Register kInnerInitial = 0xC5;  // 16 bits each
constexpr Ham::Ham::Register kOuterInitial = 0xC7;
constexpr Ham::Ham::Register kInnerSample = 0xEB;
constexpr Ham::Ham::Register kOuterSample = 0xEE;
constexpr Ham::Ham::Register kVirtualInput = 0xF4;  // 8 bits

constexpr uint8_t kFullDuty = 0xFF;
constexpr uint16_t kStopped = 0xFFFF;
constexpr std::chrono::milliseconds kSamplingTime( 53 );

// The counters count clock pulses, downwards, between two pulses of a rotor.
constexpr int kClock = 250'000;  // hertz
constexpr int kPulses = 2;       // a revolution
constexpr int kRpmCount = 60 * kClock / kPulses;
static_assert( kRpmCount == 7'500'000 );

uint16_t wordRead( Ham::Ham* ham, Ham::Ham::Register reg, Ham::Ham::ResponseId id ) {
   Ham::saveReg( ham, reg );
   return ham->get16( id );
}

}  // namespace

Component::HardwareDevice* MorrowFanspinnerController::create( const FactoryArgs&, Ham::Ham* ) {
   pl_trace( 0, "Creating MorrowFanspinnerController Device" );
   return new MorrowFanspinnerController;
}

Component::LogicalDevice::Fan* MorrowFanspinnerController::newFan( const DriverArgs& args ) {
   pl_trace( 0, "%s", __PRETTY_FUNCTION__ );
   auto fanId = static_cast< uint8_t >( Utils::stoi(
      LUMEN_ARGUMENT( args.driverArgs, "fanId", "fanIdIter != args.driverArgs.end()" ) ) );
   int maxRpm =
      Utils::stoi( LUMEN_ARGUMENT( args.driverArgs, "maxRpm", "max != args.driverArgs.end()" ) );
   int minRpm =
      Utils::stoi( LUMEN_ARGUMENT( args.driverArgs, "minRpm", "min != args.driverArgs.end()" ) );
   pl_trace( 0, "Creating new Fanspinner Fan id %hhu", fanId );
   return new Fan( this, fanId, maxRpm, minRpm );
}

pl_status MorrowFanspinnerController::readVirtualInput( VirtualInput* input ) {
   uint8_t value;
   if ( pl_status status = ham()->read8( kVirtualInput, &value, kRegSize ) ) {
      pl_trace( 0, "%s: error: failed to read virtual input reg", __PRETTY_FUNCTION__ );
      return status;
   }
   *input = std::bit_cast< VirtualInput >( value );
   return PL_STATUS_OK;
}

pl_status MorrowFanspinnerController::writeVirtualInput( VirtualInput input ) {
   auto value = std::bit_cast< uint8_t >( input );
   pl_status status = write8( ham(), kVirtualInput, value );
   if ( status != PL_STATUS_OK ) {
      pl_trace( 0, "%s: error: failed to write virtual input reg: 0x%02x", __PRETTY_FUNCTION__,
                value );
   }
   return status;
}

pl_status MorrowFanspinnerController::Fan::getRpm( int* rpm ) {
   if ( !initialised_ ) {
      ( void )initPwm();  // the sample that follows tells as much
   }
   if ( pl_status status = triggerRpmSample() ) {
      return status;
   }
   uint16_t innerRaw;
   uint16_t outerRaw;
   int inner = 0;
   int outer = 0;
   if ( pl_status status = readRpm( kInnerSample, &innerRaw, &inner ) ) {
      return status;
   }
   if ( pl_status status = readRpm( kOuterSample, &outerRaw, &outer ) ) {
      return status;
   }
   *rpm = inner;
   pl_trace( 4, "Fan %hhu is at %d (raw speed), %d rpm, maxRpm of %d rpm, minRpm of %d rpm", fanId_,
             outerRaw, inner, maxRpm_, minRpm_ );
   return PL_STATUS_OK;
}

pl_status MorrowFanspinnerController::Fan::setRpm( int rpm ) {
   LUMEN_ASSERT( rpm >= 0 );
   if ( !initialised_ ) {
      if ( pl_status status = initPwm() ) {
         return status;
      }
   }
   VirtualInput input;
   if ( pl_status status = device_->readVirtualInput( &input ) ) {
      return status;
   }
   uint8_t duty = dutyFor( rpm );
   pl_trace( 0, "Setting pwm to %hhu (%d rpm) for fan %hhu", duty, rpm, fanId_ );
   pl_status status = writeDuty( input, duty );
   pl_trace( 0, "Setting pwm to %hhu (%d rpm) for fan %hhu %s", duty, rpm, fanId_,
             status == PL_STATUS_OK ? "succeeded!" : "failed!" );
   return status;
}

pl_status MorrowFanspinnerController::Fan::initPwm() {
   Ham::Ham* ham = device_->ham();
   ham->prepare();
   addWrite8( ham, kPwm, kFullDuty );
   auto innerId = ham->addRead16( kInnerInitial, kRegSize );
   auto outerId = ham->addRead16( kOuterInitial, kRegSize );
   if ( pl_status status = ham->execute() ) {
      pl_trace( 0, "MorrowFanspinnerController init: failed to init pwm" );
      return status;
   }
   innerInitial_ = wordRead( ham, kInnerInitial, innerId );
   outerInitial_ = wordRead( ham, kOuterInitial, outerId );
   pl_trace( 5, "%s: inner tach initial value = 0x%04x", __PRETTY_FUNCTION__, innerInitial_ );
   pl_trace( 5, "%s: outer tach initial value = 0x%04x", __PRETTY_FUNCTION__, outerInitial_ );
   initialised_ = true;
   return PL_STATUS_OK;
}

pl_status MorrowFanspinnerController::Fan::triggerRpmSample() {
   VirtualInput input;
   if ( pl_status status = device_->readVirtualInput( &input ) ) {
      return status;
   }
   for ( bool level : { false, true } ) {
      input.sampleTachometers = level;
      if ( pl_status status = device_->writeVirtualInput( input ) ) {
         return status;
      }
   }
   std::this_thread::sleep_for( kSamplingTime );
   return PL_STATUS_OK;
}

pl_status MorrowFanspinnerController::Fan::readRpm( Ham::Ham::Register reg,
                                                    uint16_t* raw,
                                                    int* rpm ) {
   if ( pl_status status = device_->ham()->read16( reg, raw, kRegSize ) ) {
      return status;
   }
   if ( *raw == kStopped ) {
      pl_trace( 0, "Fan %hhu detected an error with stuck inner fan or broken tach signal",
                fanId_ );
      return PL_STATUS_DEVICE_ERROR;
   }
   if ( *raw == 0 ) {
      return PL_STATUS_OK;
   }
   bool isInner = reg == kInnerSample;
   int counted = ( isInner ? innerInitial_ : outerInitial_ ) - *raw;
   if ( counted == 0 ) {
      return PL_STATUS_DEVICE_ERROR;
   }
   *rpm = kRpmCount / counted;
   pl_trace( 5, "%s: %s rpm = %d", __PRETTY_FUNCTION__, isInner ? "inner" : "outer", *rpm );
   return PL_STATUS_OK;
}

// The duty takes effect at the edge that ends this.
pl_status MorrowFanspinnerController::Fan::writeDuty( VirtualInput input, uint8_t duty ) {
   input.latchDuty = 0;
   if ( pl_status status = device_->writeVirtualInput( input ) ) {
      return status;
   }
   if ( pl_status status = write8( device_->ham(), kPwm, duty ) ) {
      return status;
   }
   input.latchDuty = 1;
   return device_->writeVirtualInput( input );
}

uint8_t MorrowFanspinnerController::Fan::dutyFor( int rpm ) const {
   if ( maxRpm_ <= minRpm_ ) {
      return kFullDuty;
   }
   double range = static_cast< double >( maxRpm_ ) - minRpm_;
   double part = std::clamp( ( static_cast< double >( rpm ) - minRpm_ ) / range, 0.0, 1.0 );
   return static_cast< uint8_t >( Utils::truncate( kFullDuty * part ) );
}

// Both rotors turn at 10,000 rpm.
const Utils::ExpectedValues& MorrowFanspinnerController::expectedValues() {
   static const Utils::ExpectedValues values = {
      { kPwm, { kFullDuty, 1 } },
      { kInnerInitial, { 0xC000, 2 } },
      { kOuterInitial, { 0xC000, 2 } },
      { kInnerSample, { 0xC000 - 750, 2 } },
      { kOuterSample, { 0xC000 - 750, 2 } },
      { kVirtualInput, { 0, 1 } },
   };
   return values;
}

}  // namespace Drivers
