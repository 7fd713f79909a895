#pragma once

#include "Ham/Ham.h"
#include "Ham/SimHam.h"

// Writes to chips whose register numbers have one byte. The simulation is told the register first.
namespace Drivers {

constexpr uint8_t kRegSize = 1;

[[nodiscard]] inline pl_status write8( Ham::Ham* ham, Ham::Ham::Register reg, uint8_t value ) {
   Ham::saveReg( ham, reg );
   return ham->write8( reg, value, false, kRegSize );
}

[[nodiscard]] inline pl_status write16( Ham::Ham* ham, Ham::Ham::Register reg, uint16_t value ) {
   Ham::saveReg( ham, reg );
   return ham->write16( reg, value, false, kRegSize );
}

}  // namespace Drivers
