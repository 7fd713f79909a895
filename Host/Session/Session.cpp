#include "Host/Session/Session.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdlib>
#include <exception>
#include <set>
#include <utility>

#include "Host/Session/Object.h"
#include "Host/Session/Service.h"

namespace Host {

namespace {

// The number is the object's position on the board.
enum MessageType : int32_t {
   kInitialising,  // no number
   kAdding,
   kNotAdded,  // with the text of an exception, if that was it
   kReading,
   kRead,     // with status and value
   kNotRead,  // with the text of an exception
   kAllRead,  // no number
};

Message message( MessageType type, size_t object = 0, std::string text = {} ) {
   return { .type = type, .number = static_cast< int32_t >( object ), .text = std::move( text ) };
}

// The outcome of `step`, or what it threw.
template < typename Step >
std::optional< std::string > exceptionOf( Step step ) {
   try {
      step();
      return std::nullopt;
   } catch ( const std::exception& error ) {
      return fmt::format( "exception: {}", error.what() );
   } catch ( ... ) {
      return "exception of unknown type";
   }
}

}  // namespace

Session::Session( const Library& library, const Board& board, SessionOptions options )
    : library_( library ), board_( board ), options_( std::move( options ) ) {}

std::vector< Row > Session::read() {
   Rows found( board_.objects.size() );
   if ( !holdsAll_ ) {
      worker_.reset();
   }
   holdsAll_ = true;
   std::string stopped;
   while ( auto death = sweep( found ) ) {
      worker_.reset();
      stopped = afterDeath( *death, found );
      if ( !stopped.empty() ) {
         break;
      }
      holdsAll_ = std::ranges::none_of( found, []( const auto& row ) { return row.has_value(); } );
   }

   std::vector< Row > rows;
   for ( size_t i = 0; i < found.size(); ++i ) {
      const ObjectSpec& object = board_.objects[ i ];
      if ( auto failure = failed_.find( i ); failure != failed_.end() ) {
         rows.push_back( failedRow( object, failure->second ) );
      } else {
         rows.push_back( found[ i ] ? *found[ i ] : failedRow( object, stopped ) );
      }
   }
   return rows;
}

// Fills the rows that are still open. A new worker takes on their objects, and no others: what was
// read already is not initialised again.
std::optional< Session::Death > Session::sweep( Rows& rows ) {
   if ( worker_ ) {
      worker_->request();
   } else {
      startWorker( rows );
   }
   std::optional< size_t > busyWith;
   while ( auto said = worker_->next( options_.stepLimit ) ) {
      if ( said->type == kAllRead ) {
         idle_ = true;
         return std::nullopt;
      }
      bool begins = said->type == kAdding || said->type == kReading;
      busyWith = begins ? std::optional< size_t >( said->number ) : std::nullopt;
      take( *said, rows );
      if ( said->type == kRead && said->status == PL_STATUS_IO_ERROR && serviceGone() ) {
         return Death{ .object = {}, .idle = true, .why = "" };
      }
   }
   return Death{ busyWith, idle_, worker_->end() };
}

void Session::startWorker( const Rows& rows ) {
   std::vector< size_t > objects;
   for ( size_t i = 0; i < rows.size(); ++i ) {
      if ( !rows[ i ] && !failed_.contains( i ) ) {
         objects.push_back( i );
      }
   }
   auto body = [ this, objects ]( const Worker::Link& link ) { work( link, objects ); };
   worker_ = std::make_unique< Worker >( body, options_.traceLevel );
   idle_ = false;
}

void Session::take( const Message& said, Rows& rows ) {
   auto i = static_cast< size_t >( said.number );
   switch ( said.type ) {
      case kNotAdded:
         failed_[ i ] = said.text.empty() ? whyNotAdded( worker_->traces() ) : said.text;
         break;
      case kRead: {
         Reading reading{ .status = said.status };
         if ( said.hasValue ) {
            reading.value = said.value;
         }
         rows[ i ] = readRow( board_.objects[ i ], reading, worker_->traces() );
         break;
      }
      case kNotRead:
         rows[ i ] = failedRow( board_.objects[ i ], said.text );
         break;
      default:
         worker_->clearTraces();
   }
}

bool Session::serviceGone() const {
   return serviceNeeded() && !whyNoService( options_.socket ).empty();
}

// Why no other worker can go on; empty when one can.
std::string Session::afterDeath( const Death& death, Rows& rows ) {
   bool gone = serviceGone();
   if ( death.object && gone ) {
      // Not the object's fault.
      rows[ *death.object ] = failedRow( board_.objects[ *death.object ], death.why );
   } else if ( death.object ) {
      failed_[ *death.object ] = death.why;
   }
   if ( gone ) {
      return "no SMBus service answers any more at " + options_.socket;
   }
   return death.object || death.idle ? "" : "the driver library does not start: " + death.why;
}

void Session::work( const Worker::Link& link, const std::vector< size_t >& objects ) const {
   setenv( "PL_SMBUS_SOCKET", options_.socket.c_str(), 1 );
   initialise( link );
   std::map< size_t, void* > records;
   for ( size_t object : objects ) {
      if ( void* record = add( link, object ) ) {
         records[ object ] = record;
         readOne( link, object, record );
      }
   }
   link.send( message( kAllRead ) );
   while ( link.awaitRequest() ) {
      for ( auto [ object, record ] : records ) {
         readOne( link, object, record );
      }
      link.send( message( kAllRead ) );
   }
}

void Session::initialise( const Worker::Link& link ) const {
   std::set< Kind > kinds;
   for ( const ObjectSpec& object : board_.objects ) {
      kinds.insert( object.kind );
   }
   for ( Kind kind : kinds ) {
      link.send( message( kInitialising ) );
      if ( pl_status status =
              library_.init[ static_cast< size_t >( kind ) ]( board_.topology.c_str() ) ) {
         throw std::runtime_error(
            fmt::format( "pl_{}_init: {}", info( kind ).name, whyNotRead( status, {} ) ) );
      }
   }
}

void* Session::add( const Worker::Link& link, size_t object ) const {
   link.send( message( kAdding, object ) );
   void* record = nullptr;
   auto exception =
      exceptionOf( [ & ] { record = addObject( library_, board_.objects[ object ] ); } );
   if ( !record ) {
      link.send( message( kNotAdded, object, exception.value_or( "" ) ) );
      return nullptr;
   }
   return applySetting( link, object, record ) ? record : nullptr;
}

bool Session::applySetting( const Worker::Link& link, size_t object, void* record ) const {
   auto setting = settings_.find( object );
   if ( setting == settings_.end() ) {
      return true;
   }
   pl_status status = PL_STATUS_OK;
   auto exception = exceptionOf(
      [ & ] { status = setObject( board_.objects[ object ].kind, record, setting->second ); } );
   if ( exception || status != PL_STATUS_OK ) {
      link.send( message( kNotAdded, object, exception.value_or( whyNotRead( status, {} ) ) ) );
      return false;
   }
   return true;
}

void Session::readOne( const Worker::Link& link, size_t object, void* record ) const {
   link.send( message( kReading, object ) );
   Reading reading;
   auto exception =
      exceptionOf( [ & ] { reading = readObject( board_.objects[ object ].kind, record ); } );
   if ( exception ) {
      link.send( message( kNotRead, object, *exception ) );
      return;
   }
   Message outcome = message( kRead, object );
   outcome.status = reading.status;
   outcome.hasValue = reading.value.has_value();
   outcome.value = reading.value.value_or( 0 );
   link.send( outcome );
}

}  // namespace Host
