#pragma once

#include "Drivers/BCM59121/BCM59121.h"

namespace Drivers {

class BCM59121::PoePort : public Component::LogicalDevice::PoePort {
 public:
   PoePort( BCM59121* device, uint8_t portId ) : device_( device ), id( portId ) {}

   [[nodiscard]] pl_status debugInfo( char** out, bool verbose ) override {
      return device_->debugInfo( this, out, verbose );
   }
   [[nodiscard]] pl_status poePortInit() override { return device_->portInit( this ); }
   [[nodiscard]] pl_status reprogramPoeFirmware( bool force, char** out ) override {
      return device_->reprogramFirmware( this, force, out );
   }
   [[nodiscard]] pl_status setPoePortPse( bool enable ) override {
      return device_->setPse( this, enable );
   }
   [[nodiscard]] pl_status setPoePortLimit( pl_poe_power_limit_mode mode, float limit ) override {
      return device_->setPowerLimit( this, mode, limit );
   }
   [[nodiscard]] pl_status setPoePortShutOffWithPsu( uint8_t psu, bool enable ) override {
      return device_->setShutOffWithPsu( this, psu, enable );
   }
   [[nodiscard]] pl_status poePortPowerOn( bool on ) override {
      return device_->powerOn( this, on );
   }
   [[nodiscard]] pl_status setPoePortLegacyDetect( bool enable ) override {
      return device_->setLegacyDetect( this, enable );
   }
   [[nodiscard]] pl_status getPoePortPowerState( pl_poe_port_state* state,
                                                 pl_poe_port_state* primary,
                                                 pl_poe_port_state* alternative,
                                                 pl_poe_port_pair_state* pairs ) override {
      return device_->getPowerState( this, state, primary, alternative, pairs );
   }
   [[nodiscard]] pl_status getPoeDeviceClass( pl_poe_device_class* cls,
                                              pl_poe_device_class* primary,
                                              pl_poe_device_class* alternative ) override {
      return device_->getDeviceClass( this, cls, primary, alternative );
   }
   [[nodiscard]] pl_status getPoePortPower( float* total,
                                            float* primary,
                                            float* alternative ) override {
      return device_->getPower( this, total, primary, alternative );
   }
   [[nodiscard]] pl_status getPoePortVoltage( float* volts ) override {
      return device_->getVoltage( this, volts );
   }
   [[nodiscard]] pl_status getPoePortCurrent( float* amps ) override {
      return device_->getCurrent( this, amps );
   }
   [[nodiscard]] pl_status getPoePortTemperature( float* celsius ) override {
      return device_->getTemperature( this, celsius );
   }
   [[nodiscard]] pl_status getPoePortCrcStatus( bool* ok ) override {
      return device_->getCrcStatus( this, ok );
   }
   [[nodiscard]] pl_status getPoePortInformation( char** out ) override {
      return device_->getPortInformation( this, out );
   }

 private:
   BCM59121* device_;

 public:
   static constexpr uint8_t kCrcRetries = 3;

   const uint8_t id;
   uint8_t crcRetries = kCrcRetries;  // faults that are still tolerated
};

}  // namespace Drivers

// An operation on a port traces its signature in full, which compilers shorten.
#define LUMEN_TRACE_PORT_OPERATION( name, otherParameters )                                      \
   pl_trace( 6, "%s",                                                                            \
             "pl_status Drivers::BCM59121::" name "(Drivers::BCM59121::PoePort*" otherParameters \
             ")" )
