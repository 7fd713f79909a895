#pragma once

#include <chrono>
#include <cstdint>

namespace SmbusService {

// The fields of a request's packed address word.
struct AddressWord {
   uint8_t device;  // 7 bits
   uint8_t bus;
   uint8_t accelerator;
   bool plainTransfer;    // a plain combined transfer even where an SMBus command would do
   uint8_t registerSize;  // bytes of a register number: 1, 2 or 4; 0 for the code without meaning
   std::chrono::milliseconds busTimeout;  // zero stands for the adapter's own
   std::chrono::milliseconds writeDelay;  // pause after each transfer that writes
   std::chrono::milliseconds readDelay;   // pause after each transfer that reads
};

AddressWord decodeAddressWord( uint32_t word );

}  // namespace SmbusService
