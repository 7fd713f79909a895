#pragma once

#include <cstdint>

#include "Components/LogicalDevice.h"

namespace Component::LogicalDevice {

// One power-sourcing port; watts, volts, amperes, degrees Celsius. Texts are allocated with malloc
// and freed by the caller.
class PoePort {
 public:
   virtual ~PoePort() = default;

   [[nodiscard]] virtual pl_status debugInfo( char** out, bool verbose ) = 0;
   [[nodiscard]] virtual pl_status poePortInit() = 0;
   [[nodiscard]] virtual pl_status reprogramPoeFirmware( bool force, char** out ) = 0;
   [[nodiscard]] virtual pl_status setPoePortPse( bool enable ) = 0;
   [[nodiscard]] virtual pl_status setPoePortLimit( pl_poe_power_limit_mode mode, float limit ) = 0;
   [[nodiscard]] virtual pl_status setPoePortShutOffWithPsu( uint8_t psu, bool enable ) = 0;
   [[nodiscard]] virtual pl_status poePortPowerOn( bool on ) = 0;
   [[nodiscard]] virtual pl_status setPoePortLegacyDetect( bool enable ) = 0;
   [[nodiscard]] virtual pl_status getPoePortPowerState( pl_poe_port_state* state,
                                                         pl_poe_port_state* primary,
                                                         pl_poe_port_state* alternative,
                                                         pl_poe_port_pair_state* pairs ) = 0;
   [[nodiscard]] virtual pl_status getPoeDeviceClass( pl_poe_device_class* cls,
                                                      pl_poe_device_class* primary,
                                                      pl_poe_device_class* alternative ) = 0;
   [[nodiscard]] virtual pl_status getPoePortPower( float* total,
                                                    float* primary,
                                                    float* alternative ) = 0;
   [[nodiscard]] virtual pl_status getPoePortVoltage( float* volts ) = 0;
   [[nodiscard]] virtual pl_status getPoePortCurrent( float* amps ) = 0;
   [[nodiscard]] virtual pl_status getPoePortTemperature( float* celsius ) = 0;
   [[nodiscard]] virtual pl_status getPoePortCrcStatus( bool* ok ) = 0;
   [[nodiscard]] virtual pl_status getPoePortInformation( char** out ) = 0;

   pl_poe_port* record() { return record_.get(); }

   static constexpr auto debugInfoCallback =
      callback< const pl_poe_port, "debugInfoCallback", &PoePort::debugInfo >;
   static constexpr auto poePortInitCallback =
      callback< pl_poe_port, "poePortInitCallback", &PoePort::poePortInit >;
   static constexpr auto reprogramPoeFirmwareCallback =
      callback< pl_poe_port, "reprogramPoeFirmwareCallback", &PoePort::reprogramPoeFirmware >;
   static constexpr auto setPoePortPseCallback =
      callback< pl_poe_port, "setPoePortPseCallback", &PoePort::setPoePortPse >;
   static constexpr auto setPoePortLimitCallback =
      callback< pl_poe_port, "setPoePortLimitCallback", &PoePort::setPoePortLimit >;
   static constexpr auto setPoePortShutOffWithPsuCallback =
      callback< pl_poe_port,
                "setPoePortShutOffWithPsuCallback",
                &PoePort::setPoePortShutOffWithPsu >;
   static constexpr auto poePortPowerOnCallback =
      callback< pl_poe_port, "poePortPowerOnCallback", &PoePort::poePortPowerOn >;
   static constexpr auto setPoePortLegacyDetectCallback =
      callback< pl_poe_port, "setPoePortLegacyDetectCallback", &PoePort::setPoePortLegacyDetect >;
   static constexpr auto getPoePortPowerStateCallback =
      callback< pl_poe_port, "getPoePortPowerStateCallback", &PoePort::getPoePortPowerState >;
   static constexpr auto getPoeDeviceClassCallback =
      callback< pl_poe_port, "getPoeDeviceClassCallback", &PoePort::getPoeDeviceClass >;
   static constexpr auto getPoePortPowerCallback =
      callback< pl_poe_port, "getPoePortPowerCallback", &PoePort::getPoePortPower >;
   static constexpr auto getPoePortVoltageCallback =
      callback< pl_poe_port, "getPoePortVoltageCallback", &PoePort::getPoePortVoltage >;
   static constexpr auto getPoePortCurrentCallback =
      callback< pl_poe_port, "getPoePortCurrentCallback", &PoePort::getPoePortCurrent >;
   static constexpr auto getPoePortTemperatureCallback =
      callback< pl_poe_port, "getPoePortTemperatureCallback", &PoePort::getPoePortTemperature >;
   static constexpr auto getPoePortCrcStatusCallback =
      callback< pl_poe_port, "getPoePortCrcStatusCallback", &PoePort::getPoePortCrcStatus >;
   static constexpr auto getPoePortInformationCallback =
      callback< pl_poe_port, "getPoePortInformationCallback", &PoePort::getPoePortInformation >;
   static const pl_poe_port_ops ops_;

 private:
   HostRecord< pl_poe_port > record_{ &ops_, this };
};

}  // namespace Component::LogicalDevice
