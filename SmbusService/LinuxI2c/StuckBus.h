#pragma once

#include <chrono>

namespace SmbusService::LinuxI2c {

// A bus that somebody holds down costs a time-out for each transfer. After three in a row it is
// left alone, for a second at a time: then one transfer tries it again.
class StuckBus {
 public:
   using Clock = std::chrono::steady_clock;

   static bool isSign( int error );  // an errno value that a stuck bus fails with

   // The next transfer is not to be tried.
   bool isLeftAlone( Clock::time_point now ) const {
      return inRow_ >= kPatience && now < tryAgain_;
   }

   // The outcome of a transfer that was tried.
   void note( int error, Clock::time_point now );

 private:
   static constexpr int kPatience = 3;
   static constexpr std::chrono::seconds kPause{ 1 };

   int inRow_ = 0;
   Clock::time_point tryAgain_;
};

}  // namespace SmbusService::LinuxI2c
