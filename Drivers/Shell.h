#pragma once

#include <sys/types.h>

#include <chrono>
#include <optional>
#include <string>

namespace Drivers {

// A shell that runs a command line in a session of its own, and the pipe to its standard output.
// Should the time run out, the session is killed, and nobody waits for what has left it.
class Shell {
 public:
   // Without a limit where it is 0 seconds.
   Shell( const std::string& line, std::chrono::seconds limit );
   ~Shell();
   Shell( const Shell& ) = delete;
   Shell& operator=( const Shell& ) = delete;

   bool isStarted() const { return process_ > 0; }

   // Appends what is printed. False when the limit came before the end of file.
   bool readAll( std::string& output );

   // The status as of waitpid(), -1 where it cannot be had; nothing when the limit came first.
   std::optional< int > awaitEnd();

 private:
   using Clock = std::chrono::steady_clock;

   void start( const std::string& line, int output );
   bool isLate() const { return end_ && Clock::now() >= *end_; }
   int patience() const;

   std::optional< Clock::time_point > end_;
   pid_t process_ = 0;  // 0 when there is none to wait for
   int pipe_ = -1;
};

}  // namespace Drivers
