#pragma once

#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "Tests/support/TemporaryDirectory.h"

namespace Tests {

struct Outcome {
   int status = -1;  // exit status; -1 when a signal ended the process
   std::string output = {};
   std::string errors = {};
};

// One of the programs, by its name or whole path, as a child process, ended with the object at the
// latest.
class Process {
 public:
   explicit Process( const std::string& program, std::vector< std::string > arguments ) {
      bool isPath = program.find( '/' ) != std::string::npos;
      arguments.insert( arguments.begin(), isPath ? program : LUMEN_BIN_DIR "/" + program );
      std::vector< char* > words;
      for ( std::string& argument : arguments ) {
         words.push_back( argument.data() );
      }
      words.push_back( nullptr );
      process_ = fork();
      if ( process_ == 0 ) {
         redirect( "out", STDOUT_FILENO );
         redirect( "err", STDERR_FILENO );
         execv( words[ 0 ], words.data() );
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

   void signal( int number ) const { kill( process_, number ); }

   Outcome end( int number ) {
      signal( number );
      return wait();
   }

   Outcome wait() {
      int status = 0;
      waitpid( process_, &status, 0 );
      process_ = -1;
      return { WIFEXITED( status ) ? WEXITSTATUS( status ) : -1, textOf( files_.path() / "out" ),
               textOf( files_.path() / "err" ) };
   }

   // Until something is printed.
   void awaitOutput() const {
      while ( textOf( files_.path() / "out" ).empty() ) {
         usleep( 10'000 );
      }
   }

 private:
   void redirect( const char* name, int descriptor ) const {
      int file = open( ( files_.path() / name ).c_str(), O_CREAT | O_WRONLY | O_APPEND, 0600 );
      dup2( file, descriptor );
   }

   TemporaryDirectory files_;
   pid_t process_ = -1;
};

inline Outcome lumen( const std::vector< std::string >& arguments ) {
   return Process( "lumen", arguments ).wait();
}

}  // namespace Tests
