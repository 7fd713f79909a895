#pragma once

#include <cstdint>

// Addresses of chips on a bus, 7 bits.
namespace BoardFiles {

// Beyond these, the bus itself has a use for the addresses.
constexpr uint8_t kFirstAddress = 0x08;
constexpr uint8_t kLastAddress = 0x77;

// Those of memories, and of the commands that protect memories against writing.
struct AddressSpan {
   uint8_t first;
   uint8_t last;
   constexpr bool has( uint32_t address ) const { return address >= first && address <= last; }
};
constexpr AddressSpan kMemories{ 0x50, 0x57 };
constexpr AddressSpan kMemoryProtection{ 0x30, 0x37 };

}  // namespace BoardFiles
