#include "Components/Fan.h"

#include "Components/EntryPoint.h"

pl_status pl_fan_init( const char* topologyJson ) {
   return lumenLibraryInit( __FUNCTION__, topologyJson, kInitTries );
}

pl_fan* pl_fan_add( const char* deviceArgsJson ) {
   using namespace Component;
   return LogicalDevice::recordOf(
      LogicalDevice::addObject( deviceArgsJson, &DeviceBase::newFan, { 0, "newFan() failed" } ) );
}

namespace Component::LogicalDevice {

const pl_fan_ops Fan::ops_ = {
   .size = sizeof( pl_fan_ops ),
   .debug_info = debugInfoCallback,
   .get_rpm = getRpmCallback,
   .set_rpm = setRpmCallback,
};

pl_status Fan::debugInfo( char** ) const {
   return PL_STATUS_OK;
}

}  // namespace Component::LogicalDevice
