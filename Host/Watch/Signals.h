#pragma once

#include <signal.h>

#include <bitset>
#include <map>
#include <vector>

namespace Host {

// Signals that this process handles where it waits, with its descriptors. One that ends a program
// by default gets through whatever this process is stuck in when it comes a second time. The
// process's children ignore all of them until they say otherwise.
//
// There is at most one object at a time.
class Signals {
 public:
   using Set = std::bitset< NSIG >;

   // What was ignored stays ignored, but for SIGINT, which a shell ignores for its background jobs.
   // `secondTime` handles what comes a second time and ends a program by default.
   explicit Signals( const std::vector< int >& numbers, void ( *secondTime )( int ) = SIG_DFL );
   ~Signals();
   Signals( const Signals& ) = delete;
   Signals& operator=( const Signals& ) = delete;

   // Readable when there is something to take.
   int descriptor() const { return readEnd_; }

   // Those that came since the last time.
   Set take() const;

   // Does what the signal does by default; returns where that was not the process's end.
   void obey( int number );

 private:
   void handle( int number );

   int readEnd_;
   std::map< int, struct sigaction > former_;
};

}  // namespace Host
