#pragma once

#include "Components/HardwareDevice.h"
#include "Ham/Mux.h"

namespace Drivers {

// SMBus channel multiplexers with one control byte, such as the PCA9548 and the MAX7356.
class GenericSmbusMux : public Component::HardwareDevice {
 public:
   class Mux;

   static Component::HardwareDevice* create( const FactoryArgs& args, Ham::Ham* ham );

   // `channel` is the control byte that selects the channel, in its low eight bits.
   Component::LogicalDevice::Mux* newMux( const DriverArgs& args, uint32_t channel ) override;
};

class GenericSmbusMux::Mux : public Component::LogicalDevice::Mux {
 public:
   Mux( GenericSmbusMux* device, uint8_t channel ) : device_( device ), channel_( channel ) {}

   uint32_t selectRequest( Ham::Ham* ham ) override;
   uint32_t resetRequest( Ham::Ham* ham ) override;
   [[nodiscard]] pl_status executeMuxRequest() override;
   Component::HardwareDevice* device() const override { return device_; }

 private:
   GenericSmbusMux* device_;
   uint8_t channel_;
};

}  // namespace Drivers
