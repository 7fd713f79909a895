#pragma once

#include "Components/HardwareDevice.h"

namespace Drivers {

// Raw SMBus endpoints: each host transaction is one batch on the chip's HAM, followed by a pause.
// Driver arguments "localReadDelayMs" and "localWriteDelayMs", default 0.
class SmbusProxyDriver : public Component::HardwareDevice {
 public:
   class SmbusProxy;

   static Component::HardwareDevice* create( const FactoryArgs& args, Ham::Ham* ham );

   Component::LogicalDevice::SmbusProxy* newSmbusProxy( const DriverArgs& args ) override;
};

}  // namespace Drivers
