#pragma once

#include <array>
#include <cmath>
#include <cstdint>
#include <numeric>
#include <span>

// The messages of a PoE controller: a command, a byte that the answer repeats, parameters, and the
// sum of all bytes before it. Numbers are high byte first.
namespace SmbusService::Emulator {

constexpr size_t kPoeMessageSize = 12;
constexpr size_t kPoeBlockSize = 29;  // of a request that carries a piece of firmware

using PoeRequest = std::span< const uint8_t >;
using PoeAnswer = std::array< uint8_t, kPoeMessageSize >;

inline uint8_t sumOf( PoeRequest bytes ) {
   return std::accumulate( bytes.begin(), bytes.end(), uint8_t{} );
}

inline uint32_t numberIn( PoeRequest bytes ) {
   return std::accumulate( bytes.begin(), bytes.end(), uint32_t{},
                           []( uint32_t high, uint8_t low ) { return high << 8 | low; } );
}

// A value in steps, as 16 bits.
inline void putNumber( PoeAnswer& answer, size_t position, double value, double step ) {
   auto number = static_cast< uint32_t >( std::lround( value / step ) );
   answer[ position ] = static_cast< uint8_t >( number >> 8 );
   answer[ position + 1 ] = static_cast< uint8_t >( number );
}

}  // namespace SmbusService::Emulator
