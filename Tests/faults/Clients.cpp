#include "Tests/faults/Clients.h"

#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <functional>
#include <new>
#include <span>

#include "Tests/faults/Sensors.h"

namespace Tests::Faults {

namespace {

constexpr size_t kMost = 100;
constexpr unsigned kPoll = 1000;  // microseconds

bool await( std::chrono::minutes patience, const std::function< bool() >& condition ) {
   auto due = std::chrono::steady_clock::now() + patience;
   while ( !condition() ) {
      if ( std::chrono::steady_clock::now() > due ) {
         return false;
      }
      usleep( kPoll );
   }
   return true;
}

}  // namespace

struct Clients::Shared {
   std::atomic< bool > isEnding = false;
   Tally tallies[ kMost ];
};

Clients::Clients( unsigned count, const Habit& habit ) {
   void* memory =
      mmap( nullptr, sizeof( Shared ), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0 );
   shared_ = new ( memory ) Shared;
   for ( size_t i = 0; i < count; ++i ) {
      pid_t child = fork();
      if ( child == 0 ) {
         run( i, habit );
      }
      ids_.push_back( child );
   }
}

Clients::~Clients() {
   munmap( shared_, sizeof( Shared ) );
}

void Clients::run( size_t number, const Habit& habit ) {
   Tally& tally = shared_->tallies[ number ];
   for ( size_t i = number; !shared_->isEnding; ++i ) {
      if ( tally.tried() >= habit.readings ) {
         usleep( kPoll );
         continue;
      }
      uint32_t errors = tally.errors;
      read( i % kSensors, tally );
      if ( unsigned pause = tally.errors > errors ? kPoll : habit.pause ) {
         usleep( pause );
      }
   }
   _exit( 0 );
}

bool Clients::awaitRight() const {
   std::vector< uint32_t > before;
   for ( size_t i = 0; i < ids_.size(); ++i ) {
      before.push_back( shared_->tallies[ i ].right );
   }
   return await( std::chrono::minutes( 1 ), [ & ] {
      return std::ranges::equal(
         before, std::span( shared_->tallies, ids_.size() ),
         []( uint32_t count, const Tally& tally ) { return tally.right > count; } );
   } );
}

bool Clients::awaitTried( uint32_t readings, std::chrono::minutes patience ) const {
   return await( patience, [ & ] {
      return std::ranges::all_of(
         std::span( shared_->tallies, ids_.size() ),
         [ & ]( const Tally& tally ) { return tally.tried() >= readings; } );
   } );
}

void Clients::end( Row& row ) {
   shared_->isEnding = true;
   for ( size_t i = 0; i < ids_.size(); ++i ) {
      int status = 0;
      waitpid( ids_[ i ], &status, 0 );
      row.require( status == 0, "a client crashed" );
      row.tally.add( shared_->tallies[ i ] );
   }
   row.judge();
}

}  // namespace Tests::Faults
