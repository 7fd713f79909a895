#include <algorithm>

#include "SmbusService/Emulator/Chips/RotorQuantities.h"

// Controller of one fan module with an inner and an outer rotor.
//
// Its tachometer counters run down from what they were at initialisation; a sample shows how far.
// Quantities: "innerStopped" and "outerStopped" (blocked), "minRpm" and "maxRpm" (of the inner
// rotor, at duty 0 and at full duty); to be read only "innerRpm", "outerRpm" and "duty" (the
// motor's).

namespace SmbusService::Emulator {

namespace {

constexpr uint8_t kPwm = 0xc0;           // 8 bits
constexpr uint8_t kInnerInitial = 0xc5;  // 16 bits, read only
constexpr uint8_t kOuterInitial = 0xc7;  // 16 bits, read only
constexpr uint8_t kInnerSample = 0xeb;   // 16 bits, read only
constexpr uint8_t kOuterSample = 0xee;   // 16 bits, read only
constexpr uint8_t kVirtualInput = 0xf4;  // 8 bits

// Of the virtual input; each acts when it goes from 0 to 1.
constexpr uint32_t kTakePwm = 0x01;
constexpr uint32_t kTakeSamples = 0x02;

constexpr uint32_t kByte = 0xff;
constexpr uint32_t kNoSample = 0xffff;  // also of a rotor that stands still
constexpr uint32_t kLowestSample = 1;
constexpr double kCountTimesRpm = 7'500'000;

constexpr double kOuterPercent = 90;  // of the inner rotor's speed
constexpr double kMinRpm = 3'000;
constexpr double kMaxRpm = 15'000;

constexpr Register kRegisters[] = {
   { .number = kPwm, .bytes = 1, .reset = Rotor::kFullDuty, .writable = kByte },
   { .number = kInnerInitial, .bytes = 2, .reset = 0x7f00 },
   { .number = kOuterInitial, .bytes = 2, .reset = 0x7e00 },
   { .number = kInnerSample, .bytes = 2, .reset = kNoSample },
   { .number = kOuterSample, .bytes = 2, .reset = kNoSample },
   { .number = kVirtualInput, .bytes = 1, .reset = 0, .writable = kByte },
};

class MorrowFanspinnerController : public LiveChip {
 public:
   MorrowFanspinnerController() : LiveChip( ByteOrder::kLowFirst, kRegisters ) {
      setRange( kMinRpm, kMaxRpm );
      add( blocking( "innerStopped", inner_ ) );
      add( blocking( "outerStopped", outer_ ) );
      add( rpmLimit(
         "minRpm", [ this ] { return inner_.minRpm(); },
         [ this ]( uint32_t rpm ) { setRange( rpm, inner_.maxRpm() ); } ) );
      add( rpmLimit(
         "maxRpm", [ this ] { return inner_.maxRpm(); },
         [ this ]( uint32_t rpm ) { setRange( inner_.minRpm(), rpm ); } ) );
      add( speed( "innerRpm", inner_ ) );
      add( speed( "outerRpm", outer_ ) );
      add( duty( "duty", inner_ ) );
   }

   void reset() override {
      LiveChip::reset();
      inner_.reset();
      outer_.reset();
   }

 protected:
   void store( uint8_t number, uint32_t written ) override {
      uint32_t rising = number == kVirtualInput ? written & ~value( kVirtualInput ) : 0;
      LiveChip::store( number, written );
      auto now = Rotor::Clock::now();
      if ( rising & kTakeSamples ) {
         assign( kInnerSample, sample( value( kInnerInitial ), inner_.rpm( now ) ) );
         assign( kOuterSample, sample( value( kOuterInitial ), outer_.rpm( now ) ) );
      }
      if ( rising & kTakePwm ) {
         auto duty = static_cast< uint8_t >( value( kPwm ) );
         inner_.setDuty( duty, now );
         outer_.setDuty( duty, now );
      }
   }

 private:
   void setRange( double minRpm, double maxRpm ) {
      inner_.setRange( minRpm, maxRpm );
      outer_.setRange( minRpm * kOuterPercent / 100, maxRpm * kOuterPercent / 100 );
   }

   static uint32_t sample( uint32_t initial, double rpm ) {
      if ( rpm == 0 ) {
         return kNoSample;
      }
      double passed = std::min< double >( kCountTimesRpm / rpm, initial - kLowestSample );
      return initial - static_cast< uint32_t >( passed );
   }

   Rotor inner_;
   Rotor outer_;
};

}  // namespace

std::unique_ptr< Chip > newMorrowFanspinnerController() {
   return std::make_unique< MorrowFanspinnerController >();
}

}  // namespace SmbusService::Emulator
