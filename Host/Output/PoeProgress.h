#pragma once

#include <string>
#include <string_view>

namespace Host {

// What a firmware update's trace line tells of how far it is, from 0 to 100; -1 of any other line.
int firmwareProgress( std::string_view line );

// Shows how far a firmware update is: on a terminal as a bar that grows, elsewhere line by line.
class PoeProgress {
 public:
   explicit PoeProgress( bool isShown );

   // A trace line of the library while it was busy with the controller.
   void hear( const std::string& controller, const std::string& line );

   // Other output follows.
   void end();

 private:
   bool isShown_;
   bool isTerminal_;
   std::string shown_;  // the controller whose bar is on the terminal's last line; or empty
};

}  // namespace Host
