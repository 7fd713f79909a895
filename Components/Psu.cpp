#include "Components/Psu.h"

#include "Components/LogicalDevice.h"

namespace {

constexpr int kAddFailedLevel = 2;  // unlike the other kinds' 0

}  // namespace

pl_status pl_psu_init( const char* topologyJson ) {
   return lumenLibraryInit( __FUNCTION__, topologyJson, kInitTries );
}

pl_psu* pl_psu_add( const char* deviceArgsJson ) {
   using namespace Component;
   auto psu = LogicalDevice::addObject(
      deviceArgsJson, kAddFailedLevel, "newPsu() failed",
      []( DeviceBase* device, const auto& args ) { return device->newPsu( args ); } );
   return psu ? psu->record() : nullptr;
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

Psu::Psu() : record_{ .host = nullptr, .ops = &ops_, .priv = this } {}

namespace {

// Power supplies trace the callback's name alone.
template < typename Value >
pl_status forward( const char* name,
                   pl_psu* psu,
                   pl_status ( Psu::*getter )( Value* ),
                   Value* value ) {
   pl_trace( 4, "%s", name );
   return ( objectOf< Psu >( psu )->*getter )( value );
}

}  // namespace

pl_status Psu::get_power_ok_callback( pl_psu* psu, int* ok ) {
   return forward( __FUNCTION__, psu, &Psu::get_power_ok, ok );
}
pl_status Psu::get_input_current_callback( pl_psu* psu, float* amps ) {
   return forward( __FUNCTION__, psu, &Psu::get_input_current, amps );
}
pl_status Psu::get_output_current_callback( pl_psu* psu, float* amps ) {
   return forward( __FUNCTION__, psu, &Psu::get_output_current, amps );
}
pl_status Psu::get_input_voltage_callback( pl_psu* psu, float* volts ) {
   return forward( __FUNCTION__, psu, &Psu::get_input_voltage, volts );
}
pl_status Psu::get_output_voltage_callback( pl_psu* psu, float* volts ) {
   return forward( __FUNCTION__, psu, &Psu::get_output_voltage, volts );
}
pl_status Psu::get_input_power_callback( pl_psu* psu, float* watts ) {
   return forward( __FUNCTION__, psu, &Psu::get_input_power, watts );
}
pl_status Psu::get_output_power_callback( pl_psu* psu, float* watts ) {
   return forward( __FUNCTION__, psu, &Psu::get_output_power, watts );
}

}  // namespace Component::LogicalDevice
