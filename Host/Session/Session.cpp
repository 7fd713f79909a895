#include "Host/Session/Session.h"

#include <poll.h>

#include <algorithm>
#include <cerrno>
#include <utility>

namespace Host {

using std::chrono::ceil;
using std::chrono::milliseconds;
using std::chrono::steady_clock;

namespace {

// At once. With the lanes' workers they leave the service room for others of the same user.
constexpr size_t kMostTrials = 3;

std::vector< Observation > pending( const Board& board ) {
   std::vector< Observation > observations;
   for ( const ObjectSpec& object : board.objects ) {
      observations.push_back( { &object, State::Pending } );
   }
   return observations;
}

}  // namespace

Session::Session( const DriverLibrary& library, const Board& board, SessionOptions options )
    : board_( board ),
      service_( options.socket ),
      context_{ .task = { .library = library,
                          .board = board,
                          .socket = options.socket,
                          .settings = {},
                          .read = std::move( options.readObject ),
                          .tellsTraces = options.hearTrace != nullptr },
                .service = service_,
                .stepLimit = options.stepLimit,
                .firstRetry = options.firstRetry,
                .traceLevel = options.traceLevel,
                .beginWorker = std::move( options.beginWorker ),
                .hearTrace = std::move( options.hearTrace ),
                .observe =
                   [ this ]( size_t object, const Reading& reading, std::string why ) {
                      tell( observed( board_.objects[ object ], reading, std::move( why ),
                                      &latest_[ object ] ) );
                   },
                .fail =
                   [ this ]( size_t object, std::string why ) {
                      tell( failed( board_.objects[ object ], std::move( why ) ) );
                   } },
      trialContext_( context_ ),
      latest_( pending( board ) ) {
   // At once, as a sweep that begins before the trial's worker has ended reads it already.
   trialContext_.observe = [ this ]( size_t object, const Reading& reading, std::string why ) {
      context_.observe( object, reading, std::move( why ) );
      trialOf( object ).home.adopt( object );
   };
   trialContext_.fail = [ this ]( size_t object, std::string why ) {
      trialOf( object ).failures[ object ] = std::move( why );
   };
   for ( auto& objects : planLanes( board, options.mostLanes ) ) {
      lanes_.emplace_back( context_, std::move( objects ) );
   }
}

const std::vector< Observation >& Session::read() {
   begin();
   while ( isBusy() ) {
      await( Patience::kStep );
   }
   return latest_;
}

void Session::begin() {
   for ( Lane& lane : lanes_ ) {
      if ( !lane.isBusy() ) {
         lane.begin();
      }
   }
}

bool Session::isBusy() const {
   return std::ranges::any_of( lanes_, &Lane::isBusy );
}

void Session::await( milliseconds limit, int descriptor ) {
   auto end = steady_clock::now() + limit;
   bool wasBusy = isBusy();
   size_t told = told_;
   while ( told == told_ && wasBusy == isBusy() ) {
      std::vector< pollfd > descriptors{ { descriptor, POLLIN, 0 } };
      std::ranges::for_each( lanes_,
                             [ & ]( const Lane& lane ) { lane.addDescriptors( descriptors ); } );
      std::ranges::for_each(
         trials_, [ & ]( const Trial& trial ) { trial.lane.addDescriptors( descriptors ); } );
      auto left = std::max( ceil< milliseconds >( end - steady_clock::now() ), milliseconds( 0 ) );
      bool isWaiting =
         wasBusy || !trials_.empty() || std::ranges::any_of( lanes_, &Lane::hasFailed );
      auto wait = isWaiting ? std::min( left, Patience::kStep ) : left;
      int ready =
         poll( descriptors.data(), descriptors.size(), static_cast< int >( wait.count() ) );
      bool isInterrupted = ready < 0 && errno == EINTR;
      proceed();
      if ( isInterrupted || descriptors[ 0 ].revents || wait == left ) {
         return;
      }
   }
}

void Session::tryFailed( Lane& home ) {
   bool hasTrial =
      std::ranges::any_of( trials_, [ & ]( const Trial& trial ) { return &trial.home == &home; } );
   bool hasRoom = !hasTrial && trials_.size() < kMostTrials;
   auto due = hasRoom ? home.dueForTrial() : std::nullopt;
   if ( !due || !service_.whyStillGone().empty() ) {
      return;
   }
   if ( !sharing_ ) {
      sharing_.emplace( board_ );
   }
   std::vector< size_t > objects = sharing_->with( *due );
   std::set< size_t > lent( objects.begin(), objects.end() );
   home.lend( lent );
   trials_.push_back( { home, lent, Lane( trialContext_, std::move( objects ) ) } );
   trials_.back().lane.begin();
}

void Session::proceed() {
   std::ranges::for_each( lanes_, &Lane::proceed );
   for ( Trial& trial : trials_ ) {
      trial.lane.proceed();
   }
   endTrials();
   std::ranges::for_each( lanes_, [ this ]( Lane& lane ) { tryFailed( lane ); } );
}

void Session::endTrials() {
   for ( Trial& trial : trials_ ) {
      if ( trial.lane.isBusy() ) {
         continue;
      }
      for ( const auto& [ object, why ] : trial.failures ) {
         trial.home.failAgain( object, why );
      }
      trial.home.takeBack();
   }
   trials_.remove_if( []( const Trial& trial ) { return !trial.lane.isBusy(); } );
}

void Session::tell( Observation observation ) {
   auto object = static_cast< size_t >( observation.object - board_.objects.data() );
   latest_[ object ] = std::move( observation );
   ++told_;
}

Session::Trial& Session::trialOf( size_t object ) {
   return *std::ranges::find_if(
      trials_, [ object ]( const Trial& trial ) { return trial.objects.contains( object ); } );
}

}  // namespace Host
