#include "Drivers/Degrees.h"

#include "Drivers/Registers.h"
#include "Utils/Numbers.h"

namespace Drivers {

namespace {

constexpr int kFractionShift = 5;
constexpr float kDegreesPerEighth = 0.125f;
constexpr float kStepsPerDegree = 128;

}  // namespace

float degreesFromEighths( int wholeDegrees, uint8_t fraction ) {
   return static_cast< float >( wholeDegrees ) + ( fraction >> kFractionShift ) * kDegreesPerEighth;
}

float degreesFrom128ths( uint16_t word ) {
   return static_cast< int16_t >( Utils::byteSwap( word ) ) / kStepsPerDegree;
}

uint16_t degreesTo128ths( float celsius ) {
   return Utils::byteSwap(
      static_cast< uint16_t >( Utils::truncate( celsius * kStepsPerDegree ) ) );
}

pl_status read128ths( Ham::Ham* ham, Ham::Ham::Register reg, float* celsius ) {
   uint16_t word;
   if ( pl_status status = ham->read16( reg, &word, kRegSize ) ) {
      return status;
   }
   *celsius = degreesFrom128ths( word );
   return PL_STATUS_OK;
}

pl_status readWholeDegrees( Ham::Ham* ham, Ham::Ham::Register reg, float* celsius ) {
   uint8_t degrees;
   if ( pl_status status = ham->read8( reg, &degrees, kRegSize ) ) {
      return status;
   }
   *celsius = degrees;
   return PL_STATUS_OK;
}

}  // namespace Drivers
