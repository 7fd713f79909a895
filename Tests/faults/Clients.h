#pragma once

#include <sys/types.h>

#include <chrono>
#include <vector>

#include "Tests/faults/Report.h"

namespace Tests::Faults {

// Processes that read all sensors in turn, each through a connection of its own.
class Clients {
 public:
   // Each pauses between readings, and rests after so many.
   struct Habit {
      unsigned pause = 0;  // microseconds
      uint32_t readings = UINT32_MAX;
   };

   explicit Clients( unsigned count ) : Clients( count, Habit() ) {}
   Clients( unsigned count, const Habit& );
   ~Clients();
   Clients( const Clients& ) = delete;
   Clients& operator=( const Clients& ) = delete;

   // Wait until each has got another right reading, or has tried so many in all. False when that
   // takes too long.
   bool awaitRight() const;
   bool awaitTried( uint32_t readings,
                    std::chrono::minutes patience = std::chrono::minutes( 1 ) ) const;

   const std::vector< pid_t >& ids() const { return ids_; }

   // Ends them, adds up what they read, and judges.
   void end( Row& );

 private:
   struct Shared;

   [[noreturn]] void run( size_t number, const Habit& );

   Shared* shared_;
   std::vector< pid_t > ids_;
};

}  // namespace Tests::Faults
