#include "Components/PoePort.h"

#include "Components/LogicalDevice.h"

pl_status pl_poe_port_init( const char* topologyJson ) {
   return lumenLibraryInit( __FUNCTION__, topologyJson, kInitTries );
}

pl_poe_port* pl_poe_port_add( const char* deviceArgsJson ) {
   using namespace Component;
   auto port = LogicalDevice::addObject(
      deviceArgsJson, LogicalDevice::kSilent, nullptr,
      []( DeviceBase* device, const auto& args ) { return device->newPoePort( args ); } );
   return port ? port->record() : nullptr;
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

PoePort::PoePort() : record_{ .host = nullptr, .ops = &ops_, .priv = this } {}

pl_status PoePort::debugInfoCallback( const pl_poe_port* port, char** out, bool verbose ) {
   return traceAndForward( __FUNCTION__, port, &PoePort::debugInfo, out, verbose );
}

pl_status PoePort::poePortInitCallback( pl_poe_port* port ) {
   return traceAndForward( __FUNCTION__, port, &PoePort::poePortInit );
}

pl_status PoePort::reprogramPoeFirmwareCallback( pl_poe_port* port, bool force, char** out ) {
   return traceAndForward( __FUNCTION__, port, &PoePort::reprogramPoeFirmware, force, out );
}

pl_status PoePort::setPoePortPseCallback( pl_poe_port* port, bool enable ) {
   return traceAndForward( __FUNCTION__, port, &PoePort::setPoePortPse, enable );
}

pl_status PoePort::setPoePortLimitCallback( pl_poe_port* port,
                                            pl_poe_power_limit_mode mode,
                                            float limit ) {
   return traceAndForward( __FUNCTION__, port, &PoePort::setPoePortLimit, mode, limit );
}

pl_status PoePort::setPoePortShutOffWithPsuCallback( pl_poe_port* port,
                                                     unsigned char psu,
                                                     bool enable ) {
   return traceAndForward( __FUNCTION__, port, &PoePort::setPoePortShutOffWithPsu, psu, enable );
}

pl_status PoePort::poePortPowerOnCallback( pl_poe_port* port, bool on ) {
   return traceAndForward( __FUNCTION__, port, &PoePort::poePortPowerOn, on );
}

pl_status PoePort::setPoePortLegacyDetectCallback( pl_poe_port* port, bool enable ) {
   return traceAndForward( __FUNCTION__, port, &PoePort::setPoePortLegacyDetect, enable );
}

pl_status PoePort::getPoePortPowerStateCallback( pl_poe_port* port,
                                                 pl_poe_port_state* state,
                                                 pl_poe_port_state* primary,
                                                 pl_poe_port_state* alternative,
                                                 pl_poe_port_pair_state* pairs ) {
   return traceAndForward( __FUNCTION__, port, &PoePort::getPoePortPowerState, state, primary,
                           alternative, pairs );
}

pl_status PoePort::getPoeDeviceClassCallback( pl_poe_port* port,
                                              pl_poe_device_class* cls,
                                              pl_poe_device_class* primary,
                                              pl_poe_device_class* alternative ) {
   return traceAndForward( __FUNCTION__, port, &PoePort::getPoeDeviceClass, cls, primary,
                           alternative );
}

pl_status PoePort::getPoePortPowerCallback( pl_poe_port* port,
                                            float* total,
                                            float* primary,
                                            float* alternative ) {
   return traceAndForward( __FUNCTION__, port, &PoePort::getPoePortPower, total, primary,
                           alternative );
}

pl_status PoePort::getPoePortVoltageCallback( pl_poe_port* port, float* volts ) {
   return traceAndForward( __FUNCTION__, port, &PoePort::getPoePortVoltage, volts );
}

pl_status PoePort::getPoePortCurrentCallback( pl_poe_port* port, float* amps ) {
   return traceAndForward( __FUNCTION__, port, &PoePort::getPoePortCurrent, amps );
}

pl_status PoePort::getPoePortTemperatureCallback( pl_poe_port* port, float* celsius ) {
   return traceAndForward( __FUNCTION__, port, &PoePort::getPoePortTemperature, celsius );
}

pl_status PoePort::getPoePortCrcStatusCallback( pl_poe_port* port, bool* ok ) {
   return traceAndForward( __FUNCTION__, port, &PoePort::getPoePortCrcStatus, ok );
}

pl_status PoePort::getPoePortInformationCallback( pl_poe_port* port, char** out ) {
   return traceAndForward( __FUNCTION__, port, &PoePort::getPoePortInformation, out );
}

}  // namespace Component::LogicalDevice
