#pragma once

#include "Drivers/Vrm.h"

namespace Drivers {

// MPS regulators: channel 1 only.
class MpsVrm : public Vrm {
 public:
   static Component::HardwareDevice* create( const FactoryArgs& args, Ham::Ham* ham );

   bool channelIsValid( uint8_t channel ) override;
   const Utils::ExpectedValues& expectedValues() override;
};

}  // namespace Drivers
