#pragma once

#include <cstdint>
#include <string>

namespace Utils {

// Text to number as std::stoi and its kin do it (leading white space and trailing text accepted;
// std::invalid_argument and std::out_of_range named after them), in any locale.
int stoi( const std::string& text );
unsigned long stoul( const std::string& text );
float stof( const std::string& text );
double stod( const std::string& text );

// The integer part, truncated toward zero and limited to the range of int32_t; NaN gives 0.
int32_t truncate( double value );

// Shifts by the word's width or more, or by a negative count, give 0.
constexpr uint32_t shiftLeft( uint32_t value, int count ) {
   return count >= 0 && count < 32 ? value << count : 0;
}
constexpr uint32_t shiftRight( uint32_t value, int count ) {
   return count >= 0 && count < 32 ? value >> count : 0;
}

constexpr uint16_t byteSwap( uint16_t word ) {
   return static_cast< uint16_t >( word << 8 | word >> 8 );
}

}  // namespace Utils
