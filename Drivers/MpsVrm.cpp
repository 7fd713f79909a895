#include "Drivers/MpsVrm.h"

namespace Drivers {

namespace {

constexpr uint8_t kChannel = 1;

}  // namespace

Component::HardwareDevice* MpsVrm::create( const FactoryArgs&, Ham::Ham* ) {
   pl_trace( 5, "Creating MPS VRM device" );
   return new MpsVrm;
}

bool MpsVrm::channelIsValid( uint8_t channel ) {
   return channel == kChannel;
}

const Utils::ExpectedValues& MpsVrm::expectedValues() {
   static const Utils::ExpectedValues values = { { temperatureCommand( kChannel ), { 25, 2 } } };
   return values;
}

}  // namespace Drivers
