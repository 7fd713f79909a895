#pragma once

#include "Ham/Ham.h"

namespace Drivers {

// Two 8-bit registers with one bit for each bicolour LED, green and red; a 0 bit lights. What the
// registers hold is shadowed, so that one LED changes without reading the others.
struct LedShadow {
   const Ham::Ham::Register green;
   const Ham::Ham::Register red;
   uint8_t greenBits = 0;
   uint8_t redBits = 0;

   // Changes the shadow of one LED; `index` is its bit.
   void light( uint8_t index, bool isGreen, bool isRed );

   // One batch: green, then red. A failure leaves the shadow as it is.
   [[nodiscard]] pl_status commit( Ham::Ham* ham ) const;
};

}  // namespace Drivers
