#pragma once

#include <cstdint>

namespace PlatformLibrary {

// What a request's packed address word says of whom it addresses, and how.
struct AddressWord {
   uint32_t device;  // 7 bits each, as the next two
   uint32_t bus;
   uint32_t accelerator;
   uint32_t registerSize;  // bytes of a register number: 1, 2 or 4

   static AddressWord of( uint32_t packed ) {
      uint32_t code = packed >> kSizeShift & 3;
      return { packed & kSevenBits, packed >> kBusShift & kSevenBits,
               packed >> kAcceleratorShift & kSevenBits, code ? code : 4 };
   }
   uint32_t packed() const {
      return device | bus << kBusShift | accelerator << kAcceleratorShift |
             ( registerSize & 3 ) << kSizeShift;
   }

 private:
   static constexpr uint32_t kSevenBits = 0x7F;
   static constexpr int kBusShift = 7;
   static constexpr int kAcceleratorShift = 14;
   static constexpr int kSizeShift = 25;
};

}  // namespace PlatformLibrary
