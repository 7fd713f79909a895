#include "SmbusService/Emulator/Chips/LiveChip.h"

// Rear card status LED: one register, a bit for each colour. "green" and "red" are 1 while lit.

namespace SmbusService::Emulator {

namespace {

constexpr uint8_t kLeds = 0x63;  // 8 bits; 0 = lit
constexpr uint8_t kGreenBit = 0;
constexpr uint8_t kRedBit = 1;

constexpr Register kRegisters[] = {
   { .number = kLeds, .bytes = 1, .reset = 0x0f, .writable = 0xff },
};

class QuillonRearCardStatusLed : public LiveChip {
 public:
   QuillonRearCardStatusLed() : LiveChip( ByteOrder::kLowFirst, kRegisters ) {
      add( led( "green", kLeds, kGreenBit ) );
      add( led( "red", kLeds, kRedBit ) );
   }
};

}  // namespace

std::unique_ptr< Chip > newQuillonRearCardStatusLed() {
   return std::make_unique< QuillonRearCardStatusLed >();
}

}  // namespace SmbusService::Emulator
