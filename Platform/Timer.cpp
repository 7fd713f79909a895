#include <algorithm>
#include <chrono>
#include <memory>
#include <new>
#include <optional>
#include <vector>

#include "pl.h"
#include "pl_host.h"

namespace {

using Clock = std::chrono::steady_clock;

struct Timer {
   void ( *callback )( void* );
   void* user;
   std::optional< Clock::time_point > due;
};

std::vector< std::unique_ptr< Timer > >& timers() {
   static std::vector< std::unique_ptr< Timer > > list;
   return list;
}

}  // namespace

void* pl_timer_add( void ( *callback )( void* ), void* user ) try {
   timers().push_back( std::make_unique< Timer >( Timer{ callback, user, {} } ) );
   return timers().back().get();
} catch ( const std::bad_alloc& ) {
   return nullptr;
}

int pl_timer_set( void* timer, int milliseconds ) {
   if ( !timer || milliseconds < 0 ) {
      return -1;
   }
   static_cast< Timer* >( timer )->due = Clock::now() + std::chrono::milliseconds( milliseconds );
   return 0;
}

int pl_timer_wait( void ) {
   std::optional< Clock::time_point > next;
   for ( const auto& timer : timers() ) {
      if ( timer->due && ( !next || *timer->due < *next ) ) {
         next = timer->due;
      }
   }
   if ( !next ) {
      return -1;
   }
   auto left = std::chrono::ceil< std::chrono::milliseconds >( *next - Clock::now() );
   return static_cast< int >( std::max< int64_t >( left.count(), 0 ) );
}

// A callback may arm its own timer again or add others; those wait for the next call.
int pl_timer_run( void ) {
   Clock::time_point now = Clock::now();
   std::vector< Timer* > dueNow;
   for ( const auto& timer : timers() ) {
      if ( timer->due && *timer->due <= now ) {
         timer->due.reset();
         dueNow.push_back( timer.get() );
      }
   }
   for ( Timer* timer : dueNow ) {
      timer->callback( timer->user );
   }
   return static_cast< int >( dueNow.size() );
}
