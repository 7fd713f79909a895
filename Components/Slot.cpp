#include "Components/Slot.h"

#include "Components/LogicalDevice.h"

pl_status pl_slot_init( const char* topologyJson ) {
   return lumenLibraryInit( __FUNCTION__, topologyJson, kInitTries );
}

pl_slot* pl_slot_add( const char* deviceArgsJson ) {
   using namespace Component;
   auto slot = LogicalDevice::addObject(
      deviceArgsJson, 0, "newSlot() failed",
      []( DeviceBase* device, const auto& args ) { return device->newSlot( args ); } );
   return slot ? slot->record() : nullptr;
}

namespace Component::LogicalDevice {

const pl_slot_ops Slot::ops_ = {
   .size = sizeof( pl_slot_ops ),
   .get_presence = getPresenceCallback,
};

Slot::Slot() : record_{ .host = nullptr, .ops = &ops_, .priv = this } {}

pl_status Slot::getPresenceCallback( pl_slot* slot, char** info ) {
   return traceAndForward( __FUNCTION__, slot, &Slot::getPresence, info );
}

}  // namespace Component::LogicalDevice
