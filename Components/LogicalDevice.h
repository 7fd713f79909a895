#pragma once

#include "Utils/Json.h"
#include "pl.h"

// What every kind of logical device shares.
//
// A logical device embeds its kind's C structure directly behind the virtual-table pointer. The
// host holds the address of that structure; the way back is the structure's `priv`.
namespace Component::LogicalDevice {

// The embedded structure. The host's word is left as memory has it: it is the host's own.
template < typename Record >
class HostRecord {
 public:
   template < typename Ops >
   HostRecord( const Ops* ops, void* object ) {
      record_.ops = ops;
      record_.priv = object;
   }
   HostRecord( const HostRecord& ) = delete;
   HostRecord& operator=( const HostRecord& ) = delete;

   Record* get() { return &record_; }

 private:
   Record record_;
};

// A trace of a text that is the whole format.
inline void traceText( int level, const char* text ) {
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
#pragma GCC diagnostic ignored "-Wformat-security"
   pl_trace( level, text );
#pragma GCC diagnostic pop
}

constexpr int kCallbackLevel = 4;

// How a callback traces itself: most with their structure, some with their one integer as well,
// some by name alone.
struct TraceRecord {
   template < typename Object, typename... Arguments >
   static void trace( const char* name, const void* record, const Object&, Arguments... ) {
      pl_trace( kCallbackLevel, "%s(%p)", name, record );
   }
};

struct TraceValue {
   template < typename Object, typename Value >
   static void trace( const char* name, const void* record, const Object&, Value value ) {
      pl_trace( kCallbackLevel, "%s(%p, %d)", name, record, static_cast< int >( value ) );
   }
};

template < int kLevel >
struct TraceName {
   template < typename... Arguments >
   static void trace( const char* name, const Arguments&... ) {
      pl_trace( kLevel, "%s", name );
   }
};

struct TraceBareName {
   template < typename... Arguments >
   static void trace( const char* name, const Arguments&... ) {
      traceText( kCallbackLevel, name );
   }
};

template < typename Operation >
struct Signature;

template < typename Result, typename Object, typename... Arguments >
struct Signature< Result ( Object::* )( Arguments... ) > {
   template < typename Record, Utils::Json::Name kName, auto kOperation, typename Trace >
   static Result call( Record* record, Arguments... arguments ) {
      auto object = static_cast< Object* >( record->priv );
      Trace::trace( kName.text, record, *object, arguments... );
      return ( object->*kOperation )( arguments... );
   }
};

template < typename Result, typename Object, typename... Arguments >
struct Signature< Result ( Object::* )( Arguments... ) const >
    : Signature< Result ( Object::* )( Arguments... ) > {};

// A function for a kind's table: traces its name, then runs the operation of the structure's object
// with the same arguments and returns its result.
template < typename Record, Utils::Json::Name kName, auto kOperation, typename Trace = TraceRecord >
constexpr auto callback =
   Signature< decltype( kOperation ) >::template call< Record, kName, kOperation, Trace >;

}  // namespace Component::LogicalDevice
