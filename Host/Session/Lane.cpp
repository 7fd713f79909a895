#include "Host/Session/Lane.h"

#include <algorithm>
#include <utility>

#include "Host/Session/Reason.h"

namespace Host {

namespace {

using std::chrono::steady_clock;

constexpr std::chrono::seconds kLongestRetry( 60 );

// Of a worker at a time: when it dies, the next is told the rest anew.
constexpr size_t kMostAsked = 256;

constexpr const char* kWasAway = "did not answer, and does again: to be set up anew";

}  // namespace

Lane::Lane( const LaneContext& context, std::vector< size_t > objects )
    : context_( context ), objects_( std::move( objects ) ), patience_( context.stepLimit ) {}

void Lane::begin() {
   isBusy_ = true;
   open_.clear();
   for ( size_t object : objects_ ) {
      auto failure = failed_.find( object );
      if ( onLoan_.contains( object ) ) {
         continue;
      }
      if ( failure == failed_.end() ) {
         open_.insert( object );
      } else {
         context_.fail( object, failure->second.why );
      }
   }
   const std::string& whyGone = context_.service.whyStillGone();
   if ( worker_ || whyGone.empty() ) {
      goOn();
   } else {
      stop( "no SMBus service answers at " + context_.service.path() + ": " + whyGone );
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
   if ( isBusy_ ) {
      return std::nullopt;
   }
   auto next = std::ranges::min_element(
      failed_, {}, []( const auto& failure ) { return failure.second.retry; } );
   bool isDue = next != failed_.end() && next->second.retry <= steady_clock::now();
   return isDue ? std::optional( next->first ) : std::nullopt;
}

void Lane::failAgain( size_t object, const std::string& why ) {
   Failure& failure = failed_[ object ];
   failure.interval = std::clamp< steady_clock::duration >( 2 * failure.interval,
                                                            context_.firstRetry, kLongestRetry );
   failure.retry = steady_clock::now() + failure.interval;
   failure.why = why;
}

void Lane::adopt( size_t object ) {
   away_.erase( object );
   if ( failed_.erase( object ) == 0 ) {
      return;
   }
   for ( auto& [ other, failure ] : failed_ ) {
      failure.retry = steady_clock::now();
   }
}

// Asks for objects that are still open, and no others: what was read already is not made again.
void Lane::goOn() {
   current_.reset();
   patience_.renew();
   isBusy_ = !open_.empty();
   if ( !isBusy_ ) {
      return;
   }
   if ( !worker_ ) {
      startWorker();
   }
   auto end =
      std::next( open_.begin(), static_cast< ptrdiff_t >( std::min( open_.size(), kMostAsked ) ) );
   worker_->request( { open_.begin(), end } );
}

void Lane::startWorker() {
   hasStarted_ = false;
   worker_ = std::make_unique< Worker >(
      [ this ]( const Worker::Link& link ) {
         context_.beginWorker();
         SessionWorker worker( link, context_.task );
         isDeadly_ ? worker.runInChildren() : worker.run();
      },
      context_.traceLevel );
}

void Lane::hear( const Message& said ) {
   auto object = static_cast< size_t >( said.number );
   switch ( said.type ) {
      case kAllRead:
         return goOn();
      case kTrace:
         if ( current_ ) {
            context_.hearTrace( *current_, said.text );
         }
         return;
      case kNotInitialised:
         return bury( said.text );
      case kDied:
         return hearDeath( whyDied( said.status ) );
      case kNotAdded:
      case kNotRead:
         return closeFailed( object, said.text );
      case kAbsent:
         close( object );
         return context_.observe( object, { .status = PL_STATUS_ABSENT }, "" );
      case kRead:
         return hearReading( object, { said.status, said.value, said.text } );
      case kAdding:
      case kReading:
         doubt_ = isNew_ && said.type == kReading ? whyNotMadeWhole( object ) : "";
         isNew_ = said.type == kAdding;
         hasStarted_ = true;
         current_ = object;
         [[fallthrough]];
      default:
         worker_->forgetFailure();
   }
}

void Lane::hearReading( size_t object, Reading reading ) {
   if ( reading.status == PL_STATUS_IO_ERROR && blamesService() &&
        !context_.service.whyGone().empty() ) {
      current_.reset();
      return bury( "" );
   }
   const auto& failure = worker_->failure();
   if ( failure && isSensor( object ) && reading.status == PL_STATUS_OK ) {
      reading = { .status = PL_STATUS_IO_ERROR };
   }
   if ( !doubt_.empty() ) {
      return distrust( object, doubt_ );
   }
   if ( reading.status == PL_STATUS_OK && away_.contains( object ) ) {
      distrust( object, kWasAway );
      failed_[ object ].retry = steady_clock::now();
      return;
   }
   if ( failure && failure->lacksAnswer() && reading.status != PL_STATUS_OK &&
        reading.status != PL_STATUS_ABSENT ) {
      away_.insert( object );
   }
   close( object );
   context_.observe( object, reading, whyNotRead( object, reading ) );
}

// It is to be made anew before it is believed.
void Lane::distrust( size_t object, const std::string& why ) {
   failAgain( object, why );
   close( object );
   context_.fail( object, why );
}

bool Lane::isSensor( size_t object ) const {
   return context_.task.board.objects[ object ].kind == Kind::TempSensor;
}

// Of a sensor that was added although a request failed: drivers go on where a chip may be as it
// should all the same, which nobody can ask it.
std::string Lane::whyNotMadeWhole( size_t object ) const {
   return worker_->failure() && isSensor( object )
             ? "limits not set, or not all: " + reasonFor( object, "" )
             : "";
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

// Of a worker that is dead, or as good as that. False when it is no use to go on.
bool Lane::blame( const std::string& why ) {
   bool isServiceLost = blamesService() && !context_.service.whyGone().empty();
   if ( current_ ) {
      isDeadly_ = true;
      fail( *current_, why );
   }
   if ( isServiceLost ) {
      stop( "no SMBus service answers any more at " + context_.service.path() );
   } else if ( !hasStarted_ ) {
      stop( "the driver library does not start: " + why );
   }
   return !isServiceLost && hasStarted_;
}

void Lane::bury( const std::string& why ) {
   if ( blame( why ) ) {
      worker_.reset();
      goOn();
   }
}

// Of a worker's child. When it was busy with nothing, a request may be left that the next would
// take.
void Lane::hearDeath( const std::string& why ) {
   if ( !isBusy_ ) {
      worker_.reset();
   } else if ( !current_ ) {
      bury( why );
   } else if ( blame( why ) ) {
      goOn();
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
