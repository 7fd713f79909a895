#pragma once

#include <algorithm>
#include <chrono>

namespace Host {

// How long another process may stay silent. Time in which this program was stopped, and most likely
// the other with it, does not count.
class Patience {
 public:
   // How long the owner may wait between two calls: where much more passed, it was stopped.
   static constexpr std::chrono::milliseconds kStep{ 100 };

   explicit Patience( std::chrono::milliseconds limit ) : limit_( limit ), left_( limit ) {}

   void renew() {
      left_ = limit_;
      last_ = Clock::now();
   }

   bool hasEnded() {
      auto now = Clock::now();
      left_ -= std::min< Clock::duration >( now - last_, kStep );
      last_ = now;
      return left_ <= Clock::duration::zero();
   }

 private:
   using Clock = std::chrono::steady_clock;

   Clock::duration limit_;
   Clock::duration left_;
   Clock::time_point last_ = Clock::now();
};

}  // namespace Host
