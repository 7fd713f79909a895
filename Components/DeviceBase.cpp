#include "Components/DeviceBase.h"

#include "Components/HardwareDevice.h"
#include "Components/MultiDevice.h"
#include "Utils/NotImplementedException.h"
#include "pl.h"

namespace Component {

std::map< uint32_t, DeviceBase* > DeviceBase::devices;

void DeviceBase::refuse( const char* operation ) {
   throw NotImplementedException( operation );
}

DeviceBase* DeviceBase::create( const char* json, DriverArgs& args ) {
   pl_trace( 0, "parsing devArgs = %s", json );
   if ( !args.parseJSON( json ) ) {
      pl_trace( 0, "failed to parse json object as a device" );
      return nullptr;
   }
   return args.isMultiDevice ? MultiDevice::findOrCreate( args )
                             : HardwareDevice::findOrCreate( args, nullptr );
}

// The device id alone decides; the driver names may differ.
DeviceBase* DeviceBase::findDevice( DriverArgs& args ) {
   pl_trace( 0, "looking for already existing device %u", args.did );
   auto it = devices.find( args.did );
   if ( it == devices.end() ) {
      return nullptr;
   }
   pl_trace( 0, "using previously instanciated HardwareDevice %s", args.driver.c_str() );
   return it->second;
}

DeviceBase* DeviceBase::callDriverFactoryFunc( DriverArgs& args, Ham::Ham* ham ) {
   pl_trace( 0, "creating HardwareDevice %s", args.driver.c_str() );
   auto it = Drivers::drivers.find( args.driver );
   if ( it == Drivers::drivers.end() ) {
      pl_trace( 0, "driver %s not found", args.driver.c_str() );
      return nullptr;
   }
   pl_trace( 0, "calling factory function for %s", args.driver.c_str() );
   return it->second( args, ham );
}

}  // namespace Component
