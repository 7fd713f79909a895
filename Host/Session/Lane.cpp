#include "Host/Session/Lane.h"

#include <algorithm>
#include <utility>

#include "Host/Session/Reason.h"

namespace Host {

namespace {

using std::chrono::steady_clock;

constexpr std::chrono::seconds kLongestRetry( 60 );

}  // namespace

Lane::Lane( const LaneContext& context, std::vector< size_t > objects )
    : context_( context ), objects_( std::move( objects ) ), patience_( context.stepLimit ) {}

// A worker that lost others on its way holds only those that came after: the next one holds all.
void Lane::begin() {
   isBusy_ = true;
   if ( !holdsAll_ ) {
      worker_.reset();
   }
   holdsAll_ = true;
   open_.clear();
   for ( size_t object : objects_ ) {
      auto failure = failed_.find( object );
      if ( failure == failed_.end() ) {
         open_.insert( object );
      } else {
         context_.fail( object, failure->second.why );
      }
   }
   patience_.renew();
   if ( worker_ ) {
      worker_->request( { adopted_.begin(), adopted_.end() } );
      adopted_.clear();
   } else if ( const std::string& why = context_.service.whyStillGone(); !why.empty() ) {
      stop( "no SMBus service answers at " + context_.service.path() + ": " + why );
   } else {
      startWorker();
   }
}

void Lane::addDescriptors( std::vector< pollfd >& descriptors ) const {
   if ( worker_ ) {
      worker_->addDescriptors( descriptors );
   }
}

void Lane::proceed() {
   while ( worker_ ) {
      auto said = worker_->take();
      if ( said ) {
         patience_.renew();
         hear( *said );
      } else if ( worker_->hasEnded() && !isBusy_ ) {
         worker_.reset();
      } else if ( worker_->hasEnded() ) {
         bury( whyDied( worker_->end() ) );
      } else if ( isBusy_ && patience_.hasEnded() ) {
         bury( whyHung( context_.stepLimit ) );
      } else {
         return;
      }
   }
}

std::optional< size_t > Lane::dueForTrial() const {
   auto next = std::ranges::min_element(
      failed_, {}, []( const auto& failure ) { return failure.second.retry; } );
   bool isDue = next != failed_.end() && next->second.retry <= steady_clock::now();
   return isDue ? std::optional( next->first ) : std::nullopt;
}

void Lane::failAgain( size_t object, const std::string& why ) {
   Failure& failure = failed_[ object ];
   failure.interval = failure.why.empty() ? context_.firstRetry
                                          : std::min< steady_clock::duration >(
                                               2 * failure.interval, kLongestRetry );
   failure.retry = steady_clock::now() + failure.interval;
   failure.why = why;
}

void Lane::adopt( size_t object ) {
   failed_.erase( object );
   for ( auto& [ other, failure ] : failed_ ) {
      failure.retry = steady_clock::now();
   }
   if ( worker_ ) {
      adopted_.push_back( object );
   }
}

// It takes on the objects that are still open, and no others: what was read already is not
// initialised again.
void Lane::startWorker() {
   worker_.reset();
   adopted_.clear();
   if ( open_.empty() ) {
      isBusy_ = false;
      return;
   }
   std::vector< size_t > objects( open_.begin(), open_.end() );
   worker_ = std::make_unique< Worker >(
      [ this, objects ]( const Worker::Link& link ) {
         context_.beginWorker();
         SessionWorker( link, context_.task ).run( objects );
      },
      context_.traceLevel );
   current_.reset();
   hasStarted_ = false;
   patience_.renew();
}

void Lane::hear( const Message& said ) {
   auto object = static_cast< size_t >( said.number );
   switch ( said.type ) {
      case kAllRead:
         isBusy_ = false;
         return;
      case kTrace:
         if ( current_ ) {
            context_.hearTrace( *current_, said.text );
         }
         return;
      case kNotInitialised:
         return bury( said.text );
      case kNotAdded:
      case kNotRead:
         return closeFailed( object, said.text );
      case kAbsent:
         close( object );
         return context_.observe( object, { .status = PL_STATUS_ABSENT }, "" );
      case kRead: {
         if ( said.status == PL_STATUS_IO_ERROR && blamesService() &&
              !context_.service.whyGone().empty() ) {
            current_.reset();
            return bury( "" );
         }
         Reading reading{ said.status, said.value, said.text };
         close( object );
         return context_.observe( object, reading, whyNotRead( object, reading ) );
      }
      case kAdding:
      case kReading:
         hasStarted_ = true;
         current_ = object;
         [[fallthrough]];
      default:
         worker_->forgetFailure();
   }
}

void Lane::close( size_t object ) {
   open_.erase( object );
   current_.reset();
}

void Lane::closeFailed( size_t object, const std::string& otherwise ) {
   close( object );
   context_.fail( object, reasonFor( object, otherwise ) );
}

bool Lane::blamesService() const {
   const auto& failure = worker_->failure();
   return failure && !failure->isAnswered();
}

// Empty of a reading that is all right.
std::string Lane::whyNotRead( size_t object, const Reading& reading ) const {
   if ( reading.status == PL_STATUS_OK ) {
      return {};
   }
   return !reading.text.empty()
             ? reading.text
             : whyNotOk( reading.status, reasonFor( object, "" ),
                         operations( context_.task.board.objects[ object ].kind ).deviceError );
}

// The request that failed, if one did.
std::string Lane::reasonFor( size_t object, const std::string& otherwise ) const {
   const Board& board = context_.task.board;
   const auto& failure = worker_->failure();
   return failure ? failure->explain( board, board.objects[ object ] ) : otherwise;
}

// The object that the worker was busy with is to blame for its death, or the service.
void Lane::fail( size_t object, const std::string& why ) {
   std::string reason = reasonFor( object, why );
   if ( !blamesService() ) {
      failAgain( object, reason );
   }
   close( object );
   context_.fail( object, reason );
}

// A worker that is dead, or as good as that.
void Lane::bury( const std::string& why ) {
   bool isServiceLost = blamesService() && !context_.service.whyGone().empty();
   bool hadStarted = hasStarted_;
   if ( current_ ) {
      fail( *current_, why );
   }
   worker_.reset();
   if ( isServiceLost ) {
      stop( "no SMBus service answers any more at " + context_.service.path() );
   } else if ( !hadStarted ) {
      stop( "the driver library does not start: " + why );
   } else {
      holdsAll_ = holdsAll_ && open_.size() + failed_.size() == objects_.size();
      startWorker();
   }
}

void Lane::stop( const std::string& why ) {
   worker_.reset();
   isBusy_ = false;
   for ( size_t object : std::exchange( open_, {} ) ) {
      context_.fail( object, why );
   }
}

}  // namespace Host
