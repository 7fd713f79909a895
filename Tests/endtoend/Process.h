#pragma once

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <string>

#include "Tests/support/TemporaryDirectory.h"

namespace Tests {

struct Outcome {
   int status;  // exit status; -1 when a signal ended the process
   std::string output, errors;
};

// A shell's command, in the source tree and with the built programs at hand, ended with the object
// at the latest.
class Process {
 public:
   explicit Process( const std::string& command ) : process_( fork() ) {
      if ( process_ == 0 ) {
         std::string line = "exec >>" + path( "out" ) + " 2>>" + path( "err" ) +
                            "; cd " LUMEN_SOURCE_DIR "; PATH=" LUMEN_BIN_DIR ":$PATH; exec " +
                            command;
         execl( "/bin/sh", "sh", "-c", line.c_str(), nullptr );
         _exit( 127 );
      }
   }
   ~Process() {
      if ( process_ > 0 ) {
         end( SIGKILL );
      }
   }
   Process( const Process& ) = delete;
   Process& operator=( const Process& ) = delete;

   pid_t id() const { return process_; }

   void signal( int number ) const { kill( process_, number ); }

   Outcome end( int number ) {
      signal( number );
      return wait();
   }

   Outcome wait() {
      int status = 0;
      waitpid( process_, &status, 0 );
      process_ = -1;
      return { WIFEXITED( status ) ? WEXITSTATUS( status ) : -1, textOf( path( "out" ) ),
               textOf( path( "err" ) ) };
   }

   // Until something is printed.
   void awaitOutput() const {
      while ( textOf( path( "out" ) ).empty() ) {
         usleep( 10'000 );
      }
   }

 private:
   std::string path( const char* file ) const { return files_.path() / file; }

   TemporaryDirectory files_;
   pid_t process_;
};

inline Outcome lumen( const std::string& arguments ) {
   return Process( "lumen " + arguments ).wait();
}

}  // namespace Tests
