#pragma once

#include <benchmark/benchmark.h>
#include <sched.h>

#include <algorithm>
#include <chrono>
#include <functional>
#include <utility>

namespace Bench {

using Clock = std::chrono::steady_clock;

inline double microseconds( Clock::duration time ) {
   return std::chrono::duration< double, std::micro >( time ).count();
}

// Keeps the process, and those that it starts, on one processor: which one the other end of a
// socket wakes up on would otherwise decide more than what is measured.
class OneProcessor {
 public:
   OneProcessor() {
      sched_getaffinity( 0, sizeof before_, &before_ );
      cpu_set_t one;
      CPU_ZERO( &one );
      CPU_SET( sched_getcpu(), &one );
      sched_setaffinity( 0, sizeof one, &one );
   }
   ~OneProcessor() { sched_setaffinity( 0, sizeof before_, &before_ ); }
   OneProcessor( const OneProcessor& ) = delete;
   OneProcessor& operator=( const OneProcessor& ) = delete;

 private:
   cpu_set_t before_;
};

// Microseconds for each of two operations, measured in turns so that both meet the same machine;
// the best of the rounds.
template < typename First, typename Second >
std::pair< double, double > compare( int rounds, int repeats, First first, Second second ) {
   auto time = [ repeats ]( auto& operation ) {
      auto start = Clock::now();
      for ( int i = 0; i < repeats; ++i ) {
         operation();
         benchmark::ClobberMemory();
      }
      return microseconds( Clock::now() - start ) / repeats;
   };
   std::pair< double, double > best{ 1e18, 1e18 };
   for ( int round = 0; round < rounds; ++round ) {
      best.first = std::min( best.first, time( first ) );
      best.second = std::min( best.second, time( second ) );
   }
   return best;
}

}  // namespace Bench
