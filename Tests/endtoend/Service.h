#pragma once

#include <algorithm>
#include <optional>
#include <string>

#include "Tests/endtoend/Process.h"
#include "Tests/support/Wire.h"

namespace Tests {

// A service, of this build or another, that serves a board at a socket of its own.
struct Service {
   explicit Service( const std::string& program )
       : command( program + " --socket " + path + " --control " + control ) {
      start();
   }

   // Also after its end, at the same socket.
   void start() {
      process.emplace( command );
      process->awaitOutput();
   }

   // What the emulated board answers to a line of its control socket; empty without an answer.
   std::string tell( const std::string& line ) const {
      int client = socketAt( control, connect );
      sendBytes( client, line + "\n" );
      std::string answer( 256, '\0' );
      ssize_t size = recv( client, answer.data(), answer.size(), 0 );
      answer.resize( static_cast< size_t >( std::max< ssize_t >( size, 0 ) ) );
      close( client );
      return answer;
   }

   TemporaryDirectory directory;
   std::string path = directory.path() / "smbus.sock";
   std::string control = directory.path() / "control.sock";
   std::string command;
   std::optional< Process > process;
};

}  // namespace Tests
