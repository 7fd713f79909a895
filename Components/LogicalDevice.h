#pragma once

#include "Components/DeviceBase.h"
#include "Components/Library.h"
#include "pl.h"

// What every kind of logical device shares.
//
// A logical device embeds its kind's C structure directly behind the virtual-table pointer. The
// host holds the address of that structure; the way back is the structure's `priv`, which each
// constructor sets to the object.
namespace Component::LogicalDevice {

template < typename Object, typename Record >
Object* objectOf( const Record* record ) {
   return static_cast< Object* >( record->priv );
}

// The body of most callbacks: one trace, then the object's operation.
template < typename Object, typename Record, typename... Parameters, typename... Arguments >
pl_status traceAndForward( const char* name,
                           Record* record,
                           pl_status ( Object::*operation )( Parameters... ),
                           Arguments... arguments ) {
   pl_trace( 4, "%s(%p)", name, static_cast< const void* >( record ) );
   return ( objectOf< Object >( record )->*operation )( arguments... );
}

// The same for one integer argument, which the trace shows.
template < typename Object, typename Record, typename Value >
pl_status traceAndForwardInt( const char* name,
                              Record* record,
                              pl_status ( Object::*operation )( Value ),
                              Value value ) {
   pl_trace( 4, "%s(%p, %d)", name, static_cast< const void* >( record ),
             static_cast< int >( value ) );
   return ( objectOf< Object >( record )->*operation )( value );
}

constexpr int kSilent = -1;  // for kinds whose add traces no failure

// The steps common to the add entry points: the device of the document, found or created, then the
// object that `make( device, args )` gets from it. Null after a trace at `level` that names the
// failed step.
template < typename Make >
auto addObject( const char* json, int level, const char* makeFailed, Make make )
   -> decltype( make( static_cast< DeviceBase* >( nullptr ), Drivers::DriverArgs() ) ) {
   Drivers::DriverArgs args;
   DeviceBase* device = DeviceBase::create( json, args );
   if ( !device ) {
      if ( level != kSilent ) {
         pl_trace( level, "DeviceBase::create() failed" );
      }
      return nullptr;
   }
   auto object = make( device, args );
   if ( !object && level != kSilent ) {
      pl_trace( level, "%s", makeFailed );
   }
   return object;
}

}  // namespace Component::LogicalDevice
