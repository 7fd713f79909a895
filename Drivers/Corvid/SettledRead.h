#pragma once

#include <optional>

#include "Drivers/Registers.h"

namespace Drivers {

// An 8-bit register whose lines may be moving, as those of a module that is being pulled: what two
// readings agree on, in up to three attempts, and nothing when they never do. Each disagreement is
// handed to `traceMismatch`.
template < typename TraceMismatch >
[[nodiscard]] pl_status readSettled( Ham::Ham* ham,
                                     Ham::Ham::Register reg,
                                     std::optional< uint8_t >& value,
                                     TraceMismatch traceMismatch ) {
   constexpr int kAttempts = 3;
   for ( int attempt = 0; attempt < kAttempts; ++attempt ) {
      uint8_t first;
      uint8_t second;
      if ( pl_status status = ham->read8( reg, &first, kRegSize ) ) {
         return status;
      }
      if ( pl_status status = ham->read8( reg, &second, kRegSize ) ) {
         return status;
      }
      if ( first == second ) {
         value = first;
         return PL_STATUS_OK;
      }
      traceMismatch( first, second );
   }
   return PL_STATUS_OK;
}

}  // namespace Drivers
