#include "Drivers/Corvid/LedShadow.h"

#include "Drivers/Registers.h"
#include "Utils/Numbers.h"

namespace Drivers {

namespace {

uint8_t withBit( uint8_t bits, uint8_t index, bool isLit ) {
   uint32_t bit = Utils::shiftLeft( 1, index );
   return static_cast< uint8_t >( isLit ? bits & ~bit : bits | bit );
}

}  // namespace

void LedShadow::prime( uint8_t greenValue, uint8_t redValue ) {
   greenBits = greenValue;
   redBits = redValue;
   isPrimed = true;
}

pl_status LedShadow::ensurePrimed( Ham::Ham* ham ) {
   if ( isPrimed ) {
      return PL_STATUS_OK;
   }
   uint8_t values[ 2 ];
   if ( pl_status status = readRegisters( ham, { green, red }, values ) ) {
      return status;
   }
   prime( values[ 0 ], values[ 1 ] );
   return PL_STATUS_OK;
}

void LedShadow::light( uint8_t index, bool isGreen, bool isRed ) {
   greenBits = withBit( greenBits, index, isGreen );
   redBits = withBit( redBits, index, isRed );
}

pl_status LedShadow::commit( Ham::Ham* ham ) const {
   ham->prepare();
   addWrite8( ham, green, greenBits );
   addWrite8( ham, red, redBits );
   return ham->execute();
}

}  // namespace Drivers
