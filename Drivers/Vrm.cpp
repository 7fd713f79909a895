#include "Drivers/Vrm.h"

#include "Drivers/Arguments.h"
#include "Drivers/Registers.h"
#include "Utils/Assert.h"

namespace Drivers {

namespace {

constexpr uint8_t kReadTemperature1 = 0x8D;  // 16 bits, low byte first, read only
constexpr uint8_t kReadTemperature2 = 0x8E;  // 16 bits, low byte first, read only

}  // namespace

Component::LogicalDevice::TempSensor* Vrm::newTempSensor( const DriverArgs& args ) {
   auto channel = static_cast< uint8_t >( LUMEN_INT_ARGUMENT( args, "channel" ) );
   LUMEN_ASSERT( channelIsValid( channel ) );
   pl_trace( 5, "Creating Vrm temperature sensor on channel %d", channel );
   return new TempSensor( this, temperatureCommand( channel ) );
}

uint8_t Vrm::temperatureCommand( uint8_t channel ) {
   switch ( channel ) {
      case 1:
         return kReadTemperature1;
      case 2:
         return kReadTemperature2;
      default:
         return 0x00;
   }
}

pl_status Vrm::readTemperature( uint8_t reg, float* celsius ) {
   pl_trace( 6, "%s: 0x%02x", __PRETTY_FUNCTION__, reg );
   uint16_t degrees = 0;
   pl_status status = ham()->read16( reg, &degrees, kRegSize );
   if ( status != PL_STATUS_OK ) {
      pl_trace( 7, "Error: %d reading the temperature register", status );
   }
   *celsius = degrees;
   return status;
}

}  // namespace Drivers
