#include "Components/Fan.h"

#include "Components/LogicalDevice.h"

pl_status pl_fan_init( const char* topologyJson ) {
   return lumenLibraryInit( __FUNCTION__, topologyJson, kInitTries );
}

pl_fan* pl_fan_add( const char* deviceArgsJson ) {
   using namespace Component;
   auto fan = LogicalDevice::addObject(
      deviceArgsJson, 0, "newFan() failed",
      []( DeviceBase* device, const auto& args ) { return device->newFan( args ); } );
   return fan ? fan->record() : nullptr;
}

namespace Component::LogicalDevice {

const pl_fan_ops Fan::ops_ = {
   .size = sizeof( pl_fan_ops ),
   .debug_info = debugInfoCallback,
   .get_rpm = getRpmCallback,
   .set_rpm = setRpmCallback,
};

Fan::Fan() : record_{ .host = nullptr, .ops = &ops_, .priv = this } {}

pl_status Fan::debugInfo( char** ) const {
   return PL_STATUS_OK;
}

pl_status Fan::debugInfoCallback( const pl_fan* fan, char** out ) {
   pl_trace( 4, "%s(%p)", __FUNCTION__, static_cast< const void* >( fan ) );
   return objectOf< Fan >( fan )->debugInfo( out );
}

pl_status Fan::getRpmCallback( pl_fan* fan, int* rpm ) {
   return traceAndForward( __FUNCTION__, fan, &Fan::getRpm, rpm );
}

pl_status Fan::setRpmCallback( pl_fan* fan, int rpm ) {
   return traceAndForwardInt( __FUNCTION__, fan, &Fan::setRpm, rpm );
}

}  // namespace Component::LogicalDevice
