#include "SmbusService/Emulator/RegisterChip.h"

// TMP75 temperature sensor, 9 to 12 bits.

namespace SmbusService::Emulator {

namespace {

constexpr uint8_t kTemperature = 0x00;    // 16 bits, read only
constexpr uint8_t kConfiguration = 0x01;  // 8 bits
constexpr uint8_t kLowLimit = 0x02;       // 16 bits
constexpr uint8_t kHighLimit = 0x03;      // 16 bits

constexpr uint32_t kShutdown = 0x01;
constexpr uint32_t kOneShot = 0x80;  // reads as 0
constexpr uint32_t kResolutionShift = 5;
constexpr uint32_t kResolutionMask = 3;
constexpr uint32_t kNineBitsUnresolved = 0x7f;  // register bits that 9-bit conversions leave 0

constexpr uint32_t kLimitBits = 0xfff0;
constexpr uint8_t kBits = 12;
constexpr uint8_t kShift = 4;
constexpr double kStep = 1.0 / 16;

constexpr Register kRegisters[] = {
   { .number = kTemperature, .bytes = 2, .reset = 0 },
   { .number = kConfiguration, .bytes = 1, .reset = 0, .writable = 0x7f },
   { .number = kLowLimit, .bytes = 2, .reset = 0x4b00, .writable = kLimitBits },   // 75 degrees
   { .number = kHighLimit, .bytes = 2, .reset = 0x5000, .writable = kLimitBits },  // 80 degrees
};

constexpr Quantity kQuantities[] = {
   { .name = "temperature", .number = kTemperature, .step = kStep, .bits = kBits, .shift = kShift },
   { .name = "lowLimit", .number = kLowLimit, .step = kStep, .bits = kBits, .shift = kShift },
   { .name = "highLimit", .number = kHighLimit, .step = kStep, .bits = kBits, .shift = kShift },
};

class TMP75 : public RegisterChip {
 public:
   TMP75() : RegisterChip( ByteOrder::kHighFirst, kRegisters, kQuantities ) {}

   void reset() override {
      RegisterChip::reset();
      convert();
   }

 protected:
   uint32_t fetch( uint8_t number ) override {
      if ( number != kTemperature ) {
         return value( number );
      }
      if ( !( value( kConfiguration ) & kShutdown ) ) {
         convert();
      }
      return converted_;
   }

   // Entering shutdown lets the conversion in progress finish; a one-shot makes another.
   void store( uint8_t number, uint32_t written ) override {
      bool wasRunning = !( value( kConfiguration ) & kShutdown );
      RegisterChip::store( number, written );
      if ( number == kConfiguration && ( wasRunning || written & kOneShot ) ) {
         convert();
      }
   }

 private:
   void convert() {
      uint32_t resolution = value( kConfiguration ) >> kResolutionShift & kResolutionMask;
      uint32_t unresolved = kNineBitsUnresolved >> resolution;
      converted_ = value( kTemperature ) & ~unresolved;
   }

   uint32_t converted_ = 0;
};

}  // namespace

std::unique_ptr< Chip > newTMP75() {
   return std::make_unique< TMP75 >();
}

}  // namespace SmbusService::Emulator
