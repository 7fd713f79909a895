#pragma once

#include <sys/types.h>

#include <string>

namespace SmbusService {

class Backend;

// An emulated board served by a child process at a private socket, for as long as this object, or
// at most its process, lives. Interrupts from the terminal leave the child alone.
//
// To be made while the process has one thread. A child that the process forks later may destroy its
// copy of the object, or not: the service goes on.
class EmbeddedService {
 public:
   // Returns when the service listens. Throws std::runtime_error: for a board with file, JSON
   // pointer and problem.
   explicit EmbeddedService( const std::string& boardDirectory );
   ~EmbeddedService();
   EmbeddedService( const EmbeddedService& ) = delete;
   EmbeddedService& operator=( const EmbeddedService& ) = delete;

   // The service's socket.
   const std::string& path() const { return path_; }

 private:
   std::string start( Backend& board );
   std::string startChild( Backend& board );
   void stop();

   std::string path_;
   pid_t owner_;
   pid_t child_ = -1;
   int life_ = -1;  // a pipe that the child holds open
};

}  // namespace SmbusService
