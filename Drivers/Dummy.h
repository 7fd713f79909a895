#pragma once

#include "Components/HardwareDevice.h"

namespace Drivers {

// For devices whose only logical objects are register GPIOs.
class Dummy : public Component::HardwareDevice {
 public:
   static Component::HardwareDevice* create( const FactoryArgs&, Ham::Ham* ) { return new Dummy; }
};

}  // namespace Drivers
