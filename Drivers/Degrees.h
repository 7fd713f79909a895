#pragma once

#include <cstdint>

#include "Ham/Ham.h"
#include "pl.h"

// Degrees Celsius as temperature chips hold them. Words have the chip's first byte, which is the
// high one, in their low half.
namespace Drivers {

// A byte of whole degrees and one whose top three bits are eighths to add, also below zero: two's
// complement makes the sum exact.
float degreesFromEighths( int wholeDegrees, uint8_t fraction );

// A signed word of 1/128 degree a step. Degrees are truncated to whole steps; of those that no word
// holds, the low bits remain.
float degreesFrom128ths( uint16_t word );
uint16_t degreesTo128ths( float celsius );

// Registers with one-byte numbers, read as degrees: words of 1/128 degree, bytes of whole degrees
// without a sign.
[[nodiscard]] pl_status read128ths( Ham::Ham* ham, Ham::Ham::Register reg, float* celsius );
[[nodiscard]] pl_status readWholeDegrees( Ham::Ham* ham, Ham::Ham::Register reg, float* celsius );

}  // namespace Drivers
