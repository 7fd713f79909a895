#include "Components/DeviceBase.h"

#include "Components/HardwareDevice.h"
#include "Components/MultiDevice.h"
#include "Utils/NotImplementedException.h"
#include "pl.h"

namespace Component {

std::map< uint32_t, DeviceBase* > DeviceBase::devices;

LogicalDevice::PoePort* DeviceBase::newPoePort( const DriverArgs& ) {
   throw NotImplementedException( "newPoePort" );
}
LogicalDevice::TempSensor* DeviceBase::newTempSensor( const DriverArgs& ) {
   throw NotImplementedException( "newTempSensor" );
}
LogicalDevice::Slot* DeviceBase::newSlot( const DriverArgs& ) {
   throw NotImplementedException( "newSlot" );
}
LogicalDevice::SfpXcvr* DeviceBase::newSfpXcvr( unsigned int, const DriverArgs& ) {
   throw NotImplementedException( "newSfpXcvr" );
}
LogicalDevice::QsfpXcvr* DeviceBase::newQsfpXcvr( unsigned int, const DriverArgs& ) {
   throw NotImplementedException( "newQsfpXcvr" );
}
LogicalDevice::CmisXcvr* DeviceBase::newCmisXcvr( unsigned int, const DriverArgs& ) {
   throw NotImplementedException( "newCmisXcvr" );
}
LogicalDevice::Led* DeviceBase::newLed( const DriverArgs& ) {
   throw NotImplementedException( "newLed" );
}
LogicalDevice::Fan* DeviceBase::newFan( const DriverArgs& ) {
   throw NotImplementedException( "newFan" );
}
LogicalDevice::Mux* DeviceBase::newMux( const DriverArgs&, unsigned int ) {
   throw NotImplementedException( "newMux" );
}
LogicalDevice::Psu* DeviceBase::newPsu( const DriverArgs& ) {
   throw NotImplementedException( "newPsu" );
}
LogicalDevice::SmbusProxy* DeviceBase::newSmbusProxy( const DriverArgs& ) {
   throw NotImplementedException( "newSmbusProxy" );
}
LogicalDevice::Gpio* DeviceBase::newGpio( const DriverArgs& ) {
   throw NotImplementedException( "newGpio" );
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
