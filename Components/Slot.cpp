#include "Components/Slot.h"

#include "Components/EntryPoint.h"

pl_status pl_slot_init( const char* topologyJson ) {
   return lumenLibraryInit( __FUNCTION__, topologyJson, kInitTries );
}

pl_slot* pl_slot_add( const char* deviceArgsJson ) {
   using namespace Component;
   return LogicalDevice::recordOf(
      LogicalDevice::addObject( deviceArgsJson, &DeviceBase::newSlot, { 0, "newSlot() failed" } ) );
}

namespace Component::LogicalDevice {

const pl_slot_ops Slot::ops_ = {
   .size = sizeof( pl_slot_ops ),
   .get_presence = getPresenceCallback,
};

}  // namespace Component::LogicalDevice
