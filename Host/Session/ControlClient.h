#pragma once

#include <string>

namespace Host {

// A connection to the service's control socket: a line is asked, a line comes back.
class ControlClient {
 public:
   // Throws UseError when nobody answers there.
   explicit ControlClient( const std::string& path );
   ~ControlClient();
   ControlClient( const ControlClient& ) = delete;
   ControlClient& operator=( const ControlClient& ) = delete;

   // Throws std::runtime_error when the service is lost.
   std::string ask( const std::string& line );

 private:
   int socket_;
   std::string input_;
};

}  // namespace Host
