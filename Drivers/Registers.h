#pragma once

#include "Ham/Ham.h"
#include "Ham/SimHam.h"

// Chips whose register numbers have one byte. The simulation is told each register by name, before
// it is written and before its value is taken.
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

inline void addWrite8( Ham::Ham* ham, Ham::Ham::Register reg, uint8_t value ) {
   Ham::saveReg( ham, reg );
   ham->addWrite8( reg, value, false, kRegSize );
}

// The value that a batch read from the register.
inline uint8_t get8( Ham::Ham* ham, Ham::Ham::Register reg, Ham::Ham::ResponseId id ) {
   Ham::saveReg( ham, reg );
   return ham->get8( id );
}

// One batch that reads 8-bit registers, in this order. The values are written only when the status
// is PL_STATUS_OK.
template < size_t kCount >
[[nodiscard]] pl_status readRegisters( Ham::Ham* ham,
                                       const Ham::Ham::Register ( &registers )[ kCount ],
                                       uint8_t ( &values )[ kCount ] ) {
   Ham::Ham::ResponseId ids[ kCount ];
   ham->prepare();
   for ( size_t i = 0; i < kCount; ++i ) {
      ids[ i ] = ham->addRead8( registers[ i ], kRegSize );
   }
   if ( pl_status status = ham->execute() ) {
      return status;
   }
   for ( size_t i = 0; i < kCount; ++i ) {
      values[ i ] = get8( ham, registers[ i ], ids[ i ] );
   }
   return PL_STATUS_OK;
}

}  // namespace Drivers
