#pragma once

#include <cerrno>

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

// At the end of its scope errno is what the making of an object left, and 0 where there was no
// device to make it: how a driver tells the host that a module is absent. It is declared before the
// arguments, whose destruction must not count.
class MakersErrno {
 public:
   MakersErrno() = default;
   ~MakersErrno() { errno = value_; }
   MakersErrno( const MakersErrno& ) = delete;
   MakersErrno& operator=( const MakersErrno& ) = delete;

   template < typename Make >
   auto of( Make make ) {
      errno = 0;
      auto made = make();
      value_ = errno;
      return made;
   }

 private:
   int value_ = 0;
};

// The object as it is; none is traced, and errno stays.
template < typename Object >
Object* orTraced( Object* object, FailureTrace failure ) {
   if ( !object && failure.makingFailed ) {
      int error = errno;
      traceText( failure.level, failure.makingFailed );
      errno = error;
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
      failure.makingFailed = "DeviceBase::create() failed";
   }
   return orTraced( decltype( ( device->*make )( args ) ){}, failure );
}

// The same of the document's device, found or created.
template < typename Make >
auto addObject( const char* json, Make make, FailureTrace failure = {} ) {
   MakersErrno makersErrno;
   Drivers::DriverArgs args;
   DeviceBase* device = DeviceBase::create( json, args );
   return makersErrno.of( [ & ] { return makeObject( device, args, make, failure ); } );
}

// What the host gets of the object; null of none.
template < typename Object >
auto recordOf( Object* object ) -> decltype( object->record() ) {
   return object ? object->record() : nullptr;
}

}  // namespace Component::LogicalDevice
