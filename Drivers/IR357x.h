#pragma once

#include "Drivers/Vrm.h"

namespace Drivers {

// IR3563 to IR3570A regulators: channels 0 to 2.
class IR357x : public Vrm {
 public:
   static Component::HardwareDevice* create( const FactoryArgs& args, Ham::Ham* ham );

   void init() override;
   bool channelIsValid( uint8_t channel ) override;
   const Utils::ExpectedValues& expectedValues() override;
};

}  // namespace Drivers
