#pragma once

#include <optional>
#include <string>

#include "Components/HardwareDevice.h"
#include "Components/Slot.h"
#include "Drivers/Corvid/FruInformation.h"

namespace Drivers {

// The memory of a fan-spinner module, which tells what the module is. A slot takes the driver
// arguments "fanId", and "fdlTemplate" for a text of its own with the placeholders {slotId},
// {modelName} and {serialNum}.
class MorrowFanspinnerIdprom : public Component::HardwareDevice {
 public:
   class FanSlot;

   static Component::HardwareDevice* create( const FactoryArgs& args, Ham::Ham* ham );

   Component::LogicalDevice::Slot* newSlot( const DriverArgs& args ) override;
   const Utils::ExpectedValues& expectedValues() override;

   // PL_STATUS_ABSENT when nothing acknowledges, PL_STATUS_FAILURE when no attempt gave an image
   // that can be decoded. A service that does not answer is asked once.
   [[nodiscard]] pl_status readInformation( FruInformation* information );

 private:
   [[nodiscard]] pl_status readImage( std::string* image );
};

class MorrowFanspinnerIdprom::FanSlot : public Component::LogicalDevice::Slot {
 public:
   FanSlot( MorrowFanspinnerIdprom* device, int slotId, std::string fdl )
       : device_( device ), slotId_( slotId ), fdl_( std::move( fdl ) ) {}

   // Reads the memory each time: the module may be another one.
   [[nodiscard]] pl_status getPresence( char** info ) override;

 private:
   MorrowFanspinnerIdprom* device_;
   int slotId_;
   std::string fdl_;
};

}  // namespace Drivers
