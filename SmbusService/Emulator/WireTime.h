#pragma once

#include <chrono>
#include <cstddef>

#include "SmbusService/Transfer.h"

namespace SmbusService::Emulator {

// Bits on the wire: 9 for each byte and its acknowledge, one for each start, repeated start and
// stop. A transfer that nobody acknowledges ends behind its address.
unsigned bitsOf( const Transfer&, size_t answered );
constexpr unsigned kUnacknowledgedBits = 1 + 9 + 1;

// The time of a bus that works at a rate. What a pause lasts longer than it should, the system
// being late, the next is shorter.
class WireClock {
 public:
   explicit WireClock( unsigned bitsPerSecond ) : bitsPerSecond_( bitsPerSecond ) {}

   // Lasts as long as the bits do, from `start` on; with a rate of 0 no time.
   void pass( unsigned bits, std::chrono::steady_clock::time_point start );

 private:
   unsigned bitsPerSecond_;
   std::chrono::steady_clock::duration late_{};
};

}  // namespace SmbusService::Emulator
