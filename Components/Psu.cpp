#include "Components/Psu.h"

#include "Components/EntryPoint.h"

pl_status pl_psu_init( const char* topologyJson ) {
   return lumenLibraryInit( __FUNCTION__, topologyJson, kInitTries );
}

pl_psu* pl_psu_add( const char* deviceArgsJson ) {
   using namespace Component;
   return LogicalDevice::recordOf( LogicalDevice::addObject(
      deviceArgsJson, &DeviceBase::newPsu, { .level = 2, .makingFailed = "newPsu() failed" } ) );
}

namespace Component::LogicalDevice {

const pl_psu_ops Psu::ops_ = {
   .size = sizeof( pl_psu_ops ),
   .unused = nullptr,
   .get_power_ok = get_power_ok_callback,
   .get_input_current = get_input_current_callback,
   .get_output_current = get_output_current_callback,
   .get_input_voltage = get_input_voltage_callback,
   .get_output_voltage = get_output_voltage_callback,
   .get_input_power = get_input_power_callback,
   .get_output_power = get_output_power_callback,
};

}  // namespace Component::LogicalDevice
