#include "SmbusService/Emulator/RegisterChip.h"

// LM73 temperature sensor, 11 to 14 bits.

namespace SmbusService::Emulator {

namespace {

constexpr uint8_t kTemperature = 0x00;     // 16 bits, read only
constexpr uint8_t kConfiguration = 0x01;   // 8 bits
constexpr uint8_t kHighLimit = 0x02;       // 16 bits
constexpr uint8_t kLowLimit = 0x03;        // 16 bits
constexpr uint8_t kControl = 0x04;         // 8 bits
constexpr uint8_t kIdentification = 0x07;  // 16 bits, read only

constexpr uint32_t kActiveHigh = 0x10;  // of the configuration
constexpr uint32_t kConfigurationBits = 0xb0;

constexpr uint32_t kControlBits = 0xe0;
constexpr int kResolutionShift = 5;
constexpr uint32_t kResolutionMask = 3;
constexpr uint32_t kAlertPin = 0x08;  // level of the pin
constexpr uint32_t kAboveHigh = 0x04;
constexpr uint32_t kBelowLow = 0x02;
constexpr uint32_t kDataAvailable = 0x01;

constexpr uint32_t k11Bits = 0xffe0;
constexpr uint8_t kLimitShift = 5;
constexpr double kLimitStep = 0.25;

constexpr Register kRegisters[] = {
   { .number = kTemperature, .bytes = 2, .reset = 0 },
   { .number = kConfiguration, .bytes = 1, .reset = 0x40, .writable = kConfigurationBits },
   { .number = kHighLimit, .bytes = 2, .reset = 0x7fe0, .writable = k11Bits },
   { .number = kLowLimit, .bytes = 2, .reset = 0x8000, .writable = k11Bits },
   { .number = kControl, .bytes = 1, .reset = 0, .writable = kControlBits },
   { .number = kIdentification, .bytes = 2, .reset = 0x0190 },
};

constexpr Quantity kQuantities[] = {
   { .name = "temperature", .number = kTemperature, .step = 1.0 / 32, .bits = 14, .shift = 2 },
   { .name = "highLimit",
     .number = kHighLimit,
     .step = kLimitStep,
     .bits = 11,
     .shift = kLimitShift },
   { .name = "lowLimit",
     .number = kLowLimit,
     .step = kLimitStep,
     .bits = 11,
     .shift = kLimitShift },
};

class LM73 : public RegisterChip {
 public:
   LM73() : RegisterChip( ByteOrder::kHighFirst, kRegisters, kQuantities ) {}

 protected:
   uint32_t fetch( uint8_t number ) override {
      switch ( number ) {
         case kTemperature:
            return converted();
         case kControl:
            return value( kControl ) | status();
         default:
            return value( number );
      }
   }

 private:
   uint16_t converted() const {
      uint32_t resolution = value( kControl ) >> kResolutionShift & kResolutionMask;
      return static_cast< uint16_t >( value( kTemperature ) & ~( ( 0x20u >> resolution ) - 1 ) );
   }

   uint32_t status() const {
      auto temperature = static_cast< int16_t >( converted() );
      bool isHigh = temperature > static_cast< int16_t >( value( kHighLimit ) );
      bool isLow = temperature < static_cast< int16_t >( value( kLowLimit ) );
      bool pin = isHigh == ( ( value( kConfiguration ) & kActiveHigh ) != 0 );
      return ( pin ? kAlertPin : 0 ) | ( isHigh ? kAboveHigh : 0 ) | ( isLow ? kBelowLow : 0 ) |
             kDataAvailable;
   }
};

}  // namespace

std::unique_ptr< Chip > newLM73() {
   return std::make_unique< LM73 >();
}

}  // namespace SmbusService::Emulator
