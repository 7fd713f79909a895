#pragma once

#include <chrono>
#include <deque>
#include <set>
#include <string>

#include "Host/Session/Observation.h"

namespace Host {

using WallClock = std::chrono::system_clock;

// "12:03:04", where this program runs.
std::string clockTime( WallClock::time_point time );

// Objects that came into one state, for one reason and at about the same time.
struct Change {
   WallClock::time_point time;  // of the first
   State before;                // of the first
   State state;
   std::string reason;
   std::set< const ObjectSpec* > objects;

   // "12:03:04 psu1 ok -> fault: why"; of several objects only how many.
   std::string text() const;
};

// The latest changes of state. One cause that fails many objects is one change.
class ChangeLog {
 public:
   void add( State before, const Observation& after, WallClock::time_point now );

   // The newest last.
   const std::deque< Change >& changes() const { return changes_; }

 private:
   std::deque< Change > changes_;
};

}  // namespace Host
