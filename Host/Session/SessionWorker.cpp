#include "Host/Session/SessionWorker.h"

#include <fmt/format.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <set>
#include <utility>

#include "Host/Session/Reason.h"
#include "Host/Session/UseError.h"
#include "Platform/ServicePath.h"
#include "Utils/NotImplementedException.h"
#include "pl_host.h"

namespace Host {

namespace {

// What the step threw, in words; empty when it threw nothing. The details are printed.
template < typename Step >
std::string exceptionOf( Kind kind, Step step ) {
   try {
      step();
      return {};
   } catch ( const NotImplementedException& error ) {
      fprintf( stderr, "exception: %s\n", error.what() );
      return fmt::format( "the driver has no {}", kindName( kind ) );
   } catch ( const UseError& error ) {
      return error.what();
   } catch ( const std::exception& error ) {
      fprintf( stderr, "exception: %s\n", error.what() );
   } catch ( ... ) {
      fprintf( stderr, "exception of unknown type\n" );
   }
   return kGaveUp;
}

// Printed all the same: where that is not wanted, nobody reads it.
void tellTrace( void* link, int level, const char* text ) {
   fprintf( stderr, "%s\n", text );
   if ( level == 0 ) {
      static_cast< const Worker::Link* >( link )->send( { .type = kTrace, .text = text } );
   }
}

}  // namespace

void SessionWorker::run() const {
   if ( begin() ) {
      serve( link_.awaitRequest() );
   }
}

void SessionWorker::runInChildren() const {
   if ( !begin() ) {
      return;
   }
   pl_service_disconnect();
   while ( auto request = link_.awaitRequest() ) {
      int status = link_.runInChild( [ & ] { serve( request ); } );
      link_.send( { .type = kDied, .status = status } );
   }
}

bool SessionWorker::begin() const {
   setenv( PlatformLibrary::kServicePathVariable, task_.socket.c_str(), 1 );
   if ( task_.tellsTraces ) {
      pl_trace_level_set( std::max( pl_trace_level(), 0 ) );
      pl_trace_sink_set( tellTrace, const_cast< Worker::Link* >( &link_ ) );
   }
   return initialise();
}

void SessionWorker::serve( std::optional< Request > request ) const {
   Records records;
   for ( ; request; request = link_.awaitRequest() ) {
      sweep( records, *request );
      send( kAllRead );
   }
}

// Between two objects the library's timers run: a slow one must not stop the beacons of all.
void SessionWorker::sweep( Records& records, const Request& objects ) const {
   for ( int32_t number : objects ) {
      auto object = static_cast< size_t >( number );
      Held& held = records[ object ];
      if ( prepare( object, held ) ) {
         read( object, held.record );
      }
      pl_timer_run();
   }
}

// False when the object cannot be read, which has been told.
bool SessionWorker::prepare( size_t object, Held& held ) const {
   if ( held.isSet ) {
      return true;
   }
   send( kAdding, object );
   held.record = held.record ? held.record : add( object );
   held.isSet = held.record && applySetting( object, held.record );
   return held.isSet;
}

bool SessionWorker::initialise() const {
   std::set< Kind > kinds;
   for ( const ObjectSpec& object : task_.board.objects ) {
      kinds.insert( object.kind );
   }
   for ( Kind kind : kinds ) {
      send( kInitialising );
      pl_status status = PL_STATUS_OK;
      std::string reason =
         exceptionOf( kind, [ & ] { status = task_.library.init( kind, task_.board.topology ); } );
      if ( reason.empty() && status != PL_STATUS_OK ) {
         reason = fmt::format( "pl_{}_init: {}", kindName( kind ), whyNotOk( status, "" ) );
      }
      if ( !reason.empty() ) {
         send( kNotInitialised, 0, reason );
         return false;
      }
   }
   return true;
}

void* SessionWorker::add( size_t object ) const {
   const ObjectSpec& spec = task_.board.objects[ object ];
   void* added = nullptr;
   int error = 0;
   std::string reason = exceptionOf( spec.kind, [ & ] {
      errno = 0;
      added = task_.library.add( spec );
      error = errno;
   } );
   if ( !added && error == ENODEV ) {
      send( kAbsent, object );
   } else if ( !added ) {
      send( kNotAdded, object, reason.empty() ? kMadeNoObject : reason );
   }
   return added;
}

bool SessionWorker::applySetting( size_t object, void* record ) const {
   auto setting = task_.settings.find( object );
   if ( setting == task_.settings.end() ) {
      return true;
   }
   Kind kind = task_.board.objects[ object ].kind;
   pl_status status = PL_STATUS_OK;
   std::string reason = exceptionOf(
      kind, [ & ] { status = settingOperations( kind )->apply( record, setting->second ); } );
   if ( reason.empty() && status != PL_STATUS_OK ) {
      reason = whyNotOk( status, "" );
   }
   if ( !reason.empty() ) {
      send( kNotAdded, object, reason );
   }
   return reason.empty();
}

void SessionWorker::read( size_t object, void* record ) const {
   send( kReading, object );
   Kind kind = task_.board.objects[ object ].kind;
   Reading reading;
   std::string reason = exceptionOf( kind, [ & ] { reading = task_.read( kind, record ); } );
   if ( !reason.empty() ) {
      send( kNotRead, object, reason );
      return;
   }
   if ( reading.text.empty() ) {
      reading.text = nameOfSetting( object );
   }
   link_.send( { .type = kRead,
                 .number = static_cast< int32_t >( object ),
                 .status = reading.status,
                 .value = reading.value,
                 .text = std::move( reading.text ) } );
}

// Empty where there is none, or where the reading tells it.
std::string SessionWorker::nameOfSetting( size_t object ) const {
   auto setting = task_.settings.find( object );
   if ( setting == task_.settings.end() ) {
      return {};
   }
   auto name = settingOperations( task_.board.objects[ object ].kind )->name;
   return name ? name( setting->second ) : "";
}

void SessionWorker::send( SessionMessage type, size_t object, std::string text ) const {
   link_.send(
      { .type = type, .number = static_cast< int32_t >( object ), .text = std::move( text ) } );
}

}  // namespace Host
