#pragma once

#include "Components/DeviceBase.h"
#include "Components/Library.h"
#include "Components/LogicalDevice.h"

// The steps that the add entry points share.
namespace Component::LogicalDevice {

// How an entry point says which step failed; one without a text says nothing.
struct FailureTrace {
   int level = 0;
   const char* makingFailed = nullptr;
};

// The object as it is; none is traced.
template < typename Object >
Object* orTraced( Object* object, FailureTrace failure ) {
   if ( !object && failure.makingFailed ) {
      traceText( failure.level, failure.makingFailed );
   }
   return object;
}

// What `make( args )` of the device gives; none after a trace, as when there is no device.
template < typename Make >
auto makeObject( DeviceBase* device,
                 const Drivers::DriverArgs& args,
                 Make make,
                 FailureTrace failure ) -> decltype( ( device->*make )( args ) ) {
   if ( device ) {
      return orTraced( ( device->*make )( args ), failure );
   }
   if ( failure.makingFailed ) {
      pl_trace( failure.level, "DeviceBase::create() failed" );
   }
   return nullptr;
}

// The same of the document's device, found or created.
template < typename Make >
auto addObject( const char* json, Make make, FailureTrace failure = {} ) {
   Drivers::DriverArgs args;
   DeviceBase* device = DeviceBase::create( json, args );
   return makeObject( device, args, make, failure );
}

// What the host gets of the object; null of none.
template < typename Object >
auto recordOf( Object* object ) -> decltype( object->record() ) {
   return object ? object->record() : nullptr;
}

}  // namespace Component::LogicalDevice
