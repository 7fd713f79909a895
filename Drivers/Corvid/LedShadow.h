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
   bool isPrimed = false;

   // What the registers hold; called by the device's init().
   void prime( uint8_t greenValue, uint8_t redValue );

   // Reads the registers where init() could not: a shadow of zeros would light every LED.
   [[nodiscard]] pl_status ensurePrimed( Ham::Ham* ham );

   // Changes the shadow of one LED; `index` is its bit.
   void light( uint8_t index, bool isGreen, bool isRed );

   // One batch: green, then red. A failure leaves the shadow as it is.
   [[nodiscard]] pl_status commit( Ham::Ham* ham ) const;
};

}  // namespace Drivers
