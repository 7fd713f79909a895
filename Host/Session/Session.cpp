#include "Host/Session/Session.h"

#include <poll.h>

#include <algorithm>
#include <utility>

#include "Host/Session/Reason.h"
#include "Host/Session/Service.h"

namespace Host {

Session::Session( const DriverLibrary& library, const Board& board, SessionOptions options )
    : library_( library ), board_( board ), options_( std::move( options ) ) {
   for ( const ObjectSpec& object : board.objects ) {
      latest_.push_back( { &object, State::Pending } );
   }
}

void Session::begin() {
   isBusy_ = true;
}

void Session::await( std::chrono::milliseconds limit, int descriptor ) {
   if ( isBusy_ ) {
      latest_ = read();
      isBusy_ = false;
      return;
   }
   pollfd other{ descriptor, POLLIN, 0 };
   poll( &other, 1, static_cast< int >( limit.count() ) );
}

std::vector< Observation > Session::read() {
   Found found( board_.objects.size() );
   if ( !holdsAll_ ) {
      worker_.reset();
   }
   holdsAll_ = true;
   std::string stopped;
   while ( auto death = sweep( found ) ) {
      stopped = afterDeath( *death, found );
      worker_.reset();
      if ( !stopped.empty() ) {
         break;
      }
      holdsAll_ = holdsAll_ && std::ranges::none_of(
                                  found, []( const auto& each ) { return each.has_value(); } );
   }

   std::vector< Observation > observations;
   for ( size_t i = 0; i < found.size(); ++i ) {
      const ObjectSpec& object = board_.objects[ i ];
      if ( auto failure = failed_.find( i ); failure != failed_.end() ) {
         observations.push_back( failed( object, failure->second ) );
      } else {
         observations.push_back( found[ i ] ? *found[ i ] : failed( object, stopped ) );
      }
   }
   return observations;
}

// Observes the objects that are still open. A new worker takes on them, and no others: what was
// read already is not initialised again.
std::optional< Session::Death > Session::sweep( Found& found ) {
   if ( worker_ ) {
      worker_->request();
   } else if ( !startWorker( found ) ) {
      return std::nullopt;
   }
   std::optional< size_t > busyWith;
   while ( auto said = worker_->next( options_.stepLimit ) ) {
      if ( said->type == kAllRead ) {
         return std::nullopt;
      }
      if ( said->type == kTrace ) {
         if ( busyWith ) {
            options_.hearTrace( *busyWith, said->text );
         }
         continue;
      }
      if ( said->type == kNotInitialised ) {
         return Death{ {}, started_, said->text };
      }
      bool begins = said->type == kAdding || said->type == kReading;
      started_ = started_ || begins;
      busyWith = begins ? std::optional< size_t >( said->number ) : std::nullopt;
      take( *said, found );
      if ( said->type == kRead && said->status == PL_STATUS_IO_ERROR && serviceGone() ) {
         return Death{ .object = {}, .started = true, .why = "" };
      }
   }
   return Death{ busyWith, started_, worker_->end() };
}

// False when there is nothing left to do for it.
bool Session::startWorker( const Found& found ) {
   std::vector< size_t > objects;
   for ( size_t i = 0; i < found.size(); ++i ) {
      if ( !found[ i ] && !failed_.contains( i ) ) {
         objects.push_back( i );
      }
   }
   if ( objects.empty() ) {
      return false;
   }
   auto body = [ this, objects ]( const Worker::Link& link ) {
      options_.beginWorker();
      SessionWorker::Task task{ .library = library_,
                                .board = board_,
                                .socket = options_.socket,
                                .settings = settings_,
                                .read = options_.readObject,
                                .tellsTraces = options_.hearTrace != nullptr };
      SessionWorker( link, task ).run( objects );
   };
   worker_ = std::make_unique< Worker >( body, options_.traceLevel );
   started_ = false;
   return true;
}

void Session::take( const Message& said, Found& found ) {
   auto i = static_cast< size_t >( said.number );
   switch ( said.type ) {
      case kNotAdded:
         found[ i ] = failed( board_.objects[ i ], reasonFor( i, said.text ) );
         break;
      case kAbsent:
         found[ i ] = observed( board_.objects[ i ], { .status = PL_STATUS_ABSENT }, "" );
         break;
      case kRead: {
         const ObjectSpec& object = board_.objects[ i ];
         Reading reading{ said.status, said.value, said.text };
         found[ i ] = observed( object, reading, whyNotRead( i, reading ) );
         break;
      }
      case kNotRead:
         found[ i ] = failed( board_.objects[ i ], reasonFor( i, said.text ) );
         break;
      default:
         worker_->forgetFailure();
   }
}

// Empty of a reading that is all right.
std::string Session::whyNotRead( size_t object, const Reading& reading ) const {
   if ( reading.status == PL_STATUS_OK ) {
      return {};
   }
   return !reading.text.empty()
             ? reading.text
             : whyNotOk( reading.status, reasonFor( object, "" ),
                         operations( board_.objects[ object ].kind ).deviceError );
}

// The request that failed, if one did.
std::string Session::reasonFor( size_t object, const std::string& otherwise ) const {
   const auto& failure = worker_->failure();
   return failure ? failure->explain( board_, board_.objects[ object ] ) : otherwise;
}

void Session::fail( size_t object, const std::string& why, Found& found ) {
   std::string reason = reasonFor( object, why );
   const auto& failure = worker_->failure();
   bool blamesService = failure && !failure->isAnswered();
   if ( blamesService ) {
      found[ object ] = failed( board_.objects[ object ], reason );
      holdsAll_ = false;
   } else {
      failed_[ object ] = reason;
   }
}

bool Session::serviceGone() const {
   return serviceNeeded() && !whyNoService( options_.socket ).empty();
}

// Why no other worker can go on; empty when one can.
std::string Session::afterDeath( const Death& death, Found& found ) {
   if ( death.object ) {
      fail( *death.object, death.why, found );
   }
   if ( serviceGone() ) {
      return "no SMBus service answers any more at " + options_.socket;
   }
   return death.object || death.started ? "" : "the driver library does not start: " + death.why;
}

}  // namespace Host
