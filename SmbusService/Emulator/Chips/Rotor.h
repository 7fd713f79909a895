#pragma once

#include <chrono>
#include <cstdint>

namespace SmbusService::Emulator {

// A fan's rotor. Its speed rises in a straight line with the duty; a new duty it follows with a
// first-order lag. Speeds are revolutions per minute.
class Rotor {
 public:
   using Clock = std::chrono::steady_clock;

   static constexpr uint8_t kFullDuty = 0xff;
   static constexpr std::chrono::milliseconds kLag{ 150 };       // time constant
   static constexpr std::chrono::milliseconds kSettling{ 900 };  // until it is there exactly

   // The speeds at duty 0 and at full duty. A fan that is mounted, or exchanged for another, has
   // its speed at once; where none is mounted, nothing turns.
   void setRange( double minRpm, double maxRpm );
   double minRpm() const { return minRpm_; }
   double maxRpm() const { return maxRpm_; }
   void setMounted( bool isMounted ) { isMounted_ = isMounted; }

   // Power-on: at full duty, and as fast as that makes it.
   void reset();
   void setDuty( uint8_t duty, Clock::time_point now );
   uint8_t duty() const { return duty_; }

   // Blocked, it stops at once; let go, it starts from rest.
   void setBlocked( bool isBlocked, Clock::time_point now );
   bool isBlocked() const { return isBlocked_; }

   double rpm( Clock::time_point now ) const;

 private:
   void follow( double fromRpm, Clock::time_point now );

   double minRpm_ = 0;
   double maxRpm_ = 0;
   uint8_t duty_ = kFullDuty;
   bool isMounted_ = true;
   bool isBlocked_ = false;
   double fromRpm_ = 0;         // its speed when
   Clock::time_point since_{};  // the duty changed last
};

}  // namespace SmbusService::Emulator
