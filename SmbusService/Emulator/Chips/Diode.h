#pragma once

#include "SmbusService/Emulator/RegisterChip.h"

// What temperature monitors with remote diodes share. Above the bits that the bus sees, a
// temperature register's value says whether the diode is open.
namespace SmbusService::Emulator {

constexpr uint8_t kOpenDiodeShift = 16;

constexpr Quantity diodeFault( std::string_view name, uint8_t temperature ) {
   return { .name = name,
            .number = temperature,
            .step = 1,
            .bits = 1,
            .shift = kOpenDiodeShift,
            .isSigned = false };
}

constexpr bool isOpenDiode( uint32_t value ) {
   return value >> kOpenDiodeShift;
}

// A value in eighths of a degree is read as whole degrees and, from another register, the rest.
constexpr double kEighthDegree = 1.0 / 8;

constexpr uint32_t wholeDegrees( uint32_t eighths ) {
   return eighths >> 3;
}

constexpr uint32_t extendedBits( uint32_t eighths ) {
   return ( eighths & 7 ) << 5;
}

}  // namespace SmbusService::Emulator
