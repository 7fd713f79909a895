#include "SmbusService/Emulator/RegisterChip.h"

// XT100 temperature sensor.

namespace SmbusService::Emulator {

namespace {

constexpr uint8_t kTemperature = 0x00;    // 16 bits, read only
constexpr uint8_t kConfiguration = 0x01;  // 8 bits
constexpr uint8_t kAlertLimit = 0x02;     // 16 bits

constexpr uint32_t kContinuous = 0x20;
constexpr double kStep = 1.0 / 256;

constexpr Register kRegisters[] = {
   { .number = kTemperature, .bytes = 2, .reset = 0 },
   { .number = kConfiguration, .bytes = 1, .reset = 0, .writable = kContinuous },
   { .number = kAlertLimit, .bytes = 2, .reset = 0x5000, .writable = 0xffff },  // 80 degrees
};

constexpr Quantity kQuantities[] = {
   { .name = "temperature", .number = kTemperature, .step = kStep },
   { .name = "alertLimit", .number = kAlertLimit, .step = kStep },
};

class XT100 : public RegisterChip {
 public:
   XT100() : RegisterChip( ByteOrder::kHighFirst, kRegisters, kQuantities ) {}

 protected:
   // Nothing is measured before conversions run.
   uint32_t fetch( uint8_t number ) override {
      bool isAsleep = !( value( kConfiguration ) & kContinuous );
      return number == kTemperature && isAsleep ? 0 : value( number );
   }
};

}  // namespace

std::unique_ptr< Chip > newXT100() {
   return std::make_unique< XT100 >();
}

}  // namespace SmbusService::Emulator
