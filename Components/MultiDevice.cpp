#include "Components/MultiDevice.h"

#include <utility>

namespace Component {

namespace {

void untraced( const char* ) {}

}  // namespace

MultiDevice* MultiDevice::create( DriverArgs& args ) {
   return dynamic_cast< MultiDevice* >( findOrCreate( args ) );
}

DeviceBase* MultiDevice::findOrCreate( DriverArgs& args ) {
   if ( DeviceBase* existing = findDevice( args ) ) {
      return existing;
   }
   DeviceBase* made = callDriverFactoryFunc( args, nullptr );
   if ( !made ) {
      pl_trace( 0, "factory function returned a null object" );
      return nullptr;
   }
   auto device = dynamic_cast< MultiDevice* >( made );
   if ( !device ) {
      pl_trace( 0, "driver %s makes no MultiDevice; \"isMultiDevice\" must not be true",
                args.driver.c_str() );
      delete made;
      return nullptr;
   }
   device->deviceDriverArgs = args.multiDeviceArgs;
   device->init();
   pl_trace( 0, "%s MultiDevice created", args.driver.c_str() );
   devices[ args.did ] = device;
   return device;
}

void MultiDevice::deviceDriverArgsIs( std::map< std::string, std::string > byRole ) {
   deviceDriverArgs = std::move( byRole );
}

const char* MultiDevice::getDeviceDriverArg( std::string role ) const {
   auto it = deviceDriverArgs.find( role );
   if ( it == deviceDriverArgs.end() ) {
      pl_trace( 0, "Failed to find driverArgs for driver key '%s'", role.c_str() );
      return nullptr;
   }
   return it->second.c_str();
}

// `trace` tells of the member's document.
template < typename Object, typename Trace >
Object* MultiDevice::addMember( const std::string& role,
                                Object* ( *entryPoint )( const char* ),
                                std::vector< Object* >& added,
                                Trace trace ) {
   const char* json = getDeviceDriverArg( role );
   if ( !json ) {
      return nullptr;
   }
   trace( json );
   added.push_back( entryPoint( json ) );
   return added.back();
}

pl_slot* MultiDevice::addSlot( std::string role ) {
   return addMember( role, pl_slot_add, slots, untraced );
}
pl_led* MultiDevice::addLed( std::string role ) {
   return addMember( role, pl_led_add, leds, untraced );
}
pl_psu* MultiDevice::addPsu( std::string role ) {
   return addMember( role, pl_psu_add, psus, untraced );
}
pl_fan* MultiDevice::addFan( std::string role ) {
   return addMember( role, pl_fan_add, fans, []( const char* json ) {
      pl_trace( 6, "MultiDevice::addFan driver args = %s", json );
   } );
}
pl_xcvr* MultiDevice::addXcvr( std::string role ) {
   return addMember( role, pl_xcvr_add, xcvrs, []( const char* json ) {
      pl_trace( 6, "MultiDevice::addXcvr driver args = %s", json );
   } );
}
pl_gpio* MultiDevice::addGpio( std::string role ) {
   return addMember( role, pl_gpio_add, gpios, []( const char* json ) {
      pl_trace( 6, "MultiDevice::addGpio driver args = %s", json );
   } );
}

}  // namespace Component
