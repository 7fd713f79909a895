#pragma once

#include <cstdint>

#include "pl.h"

namespace Component::LogicalDevice {

// One power-sourcing port; watts, volts, amperes, degrees Celsius. Texts are allocated with malloc
// and freed by the caller.
class PoePort {
 public:
   PoePort();
   virtual ~PoePort() = default;
   PoePort( const PoePort& ) = delete;
   PoePort& operator=( const PoePort& ) = delete;

   virtual pl_status debugInfo( char** out, bool verbose ) = 0;
   virtual pl_status poePortInit() = 0;
   virtual pl_status reprogramPoeFirmware( bool force, char** out ) = 0;
   virtual pl_status setPoePortPse( bool enable ) = 0;
   virtual pl_status setPoePortLimit( pl_poe_power_limit_mode mode, float limit ) = 0;
   virtual pl_status setPoePortShutOffWithPsu( uint8_t psu, bool enable ) = 0;
   virtual pl_status poePortPowerOn( bool on ) = 0;
   virtual pl_status setPoePortLegacyDetect( bool enable ) = 0;
   virtual pl_status getPoePortPowerState( pl_poe_port_state* state,
                                           pl_poe_port_state* primary,
                                           pl_poe_port_state* alternative,
                                           pl_poe_port_pair_state* pairs ) = 0;
   virtual pl_status getPoeDeviceClass( pl_poe_device_class* cls,
                                        pl_poe_device_class* primary,
                                        pl_poe_device_class* alternative ) = 0;
   virtual pl_status getPoePortPower( float* total, float* primary, float* alternative ) = 0;
   virtual pl_status getPoePortVoltage( float* volts ) = 0;
   virtual pl_status getPoePortCurrent( float* amps ) = 0;
   virtual pl_status getPoePortTemperature( float* celsius ) = 0;
   virtual pl_status getPoePortCrcStatus( bool* ok ) = 0;
   virtual pl_status getPoePortInformation( char** out ) = 0;

   pl_poe_port* record() { return &record_; }

   static const pl_poe_port_ops ops_;
   static pl_status debugInfoCallback( const pl_poe_port* port, char** out, bool verbose );
   static pl_status poePortInitCallback( pl_poe_port* port );
   static pl_status reprogramPoeFirmwareCallback( pl_poe_port* port, bool force, char** out );
   static pl_status setPoePortPseCallback( pl_poe_port* port, bool enable );
   static pl_status setPoePortLimitCallback( pl_poe_port* port,
                                             pl_poe_power_limit_mode mode,
                                             float limit );
   static pl_status setPoePortShutOffWithPsuCallback( pl_poe_port* port,
                                                      unsigned char psu,
                                                      bool enable );
   static pl_status poePortPowerOnCallback( pl_poe_port* port, bool on );
   static pl_status setPoePortLegacyDetectCallback( pl_poe_port* port, bool enable );
   static pl_status getPoePortPowerStateCallback( pl_poe_port* port,
                                                  pl_poe_port_state* state,
                                                  pl_poe_port_state* primary,
                                                  pl_poe_port_state* alternative,
                                                  pl_poe_port_pair_state* pairs );
   static pl_status getPoeDeviceClassCallback( pl_poe_port* port,
                                               pl_poe_device_class* cls,
                                               pl_poe_device_class* primary,
                                               pl_poe_device_class* alternative );
   static pl_status getPoePortPowerCallback( pl_poe_port* port,
                                             float* total,
                                             float* primary,
                                             float* alternative );
   static pl_status getPoePortVoltageCallback( pl_poe_port* port, float* volts );
   static pl_status getPoePortCurrentCallback( pl_poe_port* port, float* amps );
   static pl_status getPoePortTemperatureCallback( pl_poe_port* port, float* celsius );
   static pl_status getPoePortCrcStatusCallback( pl_poe_port* port, bool* ok );
   static pl_status getPoePortInformationCallback( pl_poe_port* port, char** out );

 private:
   pl_poe_port record_;
};

}  // namespace Component::LogicalDevice
