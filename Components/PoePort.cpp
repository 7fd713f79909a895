#include "Components/PoePort.h"

#include "Components/EntryPoint.h"

pl_status pl_poe_port_init( const char* topologyJson ) {
   return lumenLibraryInit( __FUNCTION__, topologyJson, kInitTries );
}

pl_poe_port* pl_poe_port_add( const char* deviceArgsJson ) {
   using namespace Component;
   return LogicalDevice::recordOf(
      LogicalDevice::addObject( deviceArgsJson, &DeviceBase::newPoePort ) );
}

namespace Component::LogicalDevice {

const pl_poe_port_ops PoePort::ops_ = {
   .size = sizeof( pl_poe_port_ops ),
   .debug_info = debugInfoCallback,
   .poe_port_init = poePortInitCallback,
   .reprogram_poe_firmware = reprogramPoeFirmwareCallback,
   .set_poe_port_pse = setPoePortPseCallback,
   .set_poe_port_limit = setPoePortLimitCallback,
   .set_poe_port_shut_off_with_psu = setPoePortShutOffWithPsuCallback,
   .poe_port_power_on = poePortPowerOnCallback,
   .set_poe_port_legacy_detect = setPoePortLegacyDetectCallback,
   .get_poe_port_power_state = getPoePortPowerStateCallback,
   .get_poe_device_class = getPoeDeviceClassCallback,
   .get_poe_port_power = getPoePortPowerCallback,
   .get_poe_port_voltage = getPoePortVoltageCallback,
   .get_poe_port_current = getPoePortCurrentCallback,
   .get_poe_port_temperature = getPoePortTemperatureCallback,
   .get_poe_port_crc_status = getPoePortCrcStatusCallback,
   .get_poe_port_information = getPoePortInformationCallback,
};

}  // namespace Component::LogicalDevice
