#include "Drivers/Shell.h"

#include <dirent.h>
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdint>
#include <cstdlib>
#include <thread>

namespace Drivers {

namespace {

using std::chrono::milliseconds;

constexpr milliseconds kStep( 1 );  // between two looks at a shell that has closed its output
constexpr size_t kChunk = 4096;

// All its process groups: the timeout utility, for one, makes its own.
void killSession( pid_t session ) {
   kill( -session, SIGKILL );
   DIR* processes = opendir( "/proc" );
   while ( const dirent* entry = processes ? readdir( processes ) : nullptr ) {
      pid_t process = atoi( entry->d_name );
      if ( process > 0 && getsid( process ) == session ) {
         kill( process, SIGKILL );
      }
   }
   if ( processes ) {
      closedir( processes );
   }
}

}  // namespace

Shell::Shell( const std::string& line, std::chrono::seconds limit ) {
   int ends[ 2 ];
   if ( pipe2( ends, O_CLOEXEC ) < 0 ) {
      return;
   }
   if ( limit.count() > 0 ) {
      end_ = Clock::now() + limit;
   }
   pipe_ = ends[ 0 ];
   start( line, ends[ 1 ] );
   close( ends[ 1 ] );
}

void Shell::start( const std::string& line, int output ) {
   posix_spawn_file_actions_t actions;
   posix_spawnattr_t attributes;
   posix_spawn_file_actions_init( &actions );
   posix_spawnattr_init( &attributes );
   posix_spawn_file_actions_adddup2( &actions, output, STDOUT_FILENO );
   posix_spawnattr_setflags( &attributes, POSIX_SPAWN_SETSID );
   const char* arguments[] = { "sh", "-c", line.c_str(), nullptr };
   if ( posix_spawn( &process_, "/bin/sh", &actions, &attributes, const_cast< char** >( arguments ),
                     environ ) != 0 ) {
      process_ = 0;
   }
   posix_spawnattr_destroy( &attributes );
   posix_spawn_file_actions_destroy( &actions );
}

// While the shell, which may have ended, still keeps the session's number from others.
Shell::~Shell() {
   if ( process_ > 0 ) {
      killSession( process_ );
      TEMP_FAILURE_RETRY( waitpid( process_, nullptr, 0 ) );
   }
   if ( pipe_ >= 0 ) {
      close( pipe_ );
   }
}

bool Shell::readAll( std::string& output ) {
   char chunk[ kChunk ];
   pollfd descriptor{ pipe_, POLLIN, 0 };
   while ( !isLate() ) {
      if ( poll( &descriptor, 1, patience() ) <= 0 ) {
         continue;
      }
      ssize_t size = TEMP_FAILURE_RETRY( read( pipe_, chunk, sizeof chunk ) );
      if ( size <= 0 ) {
         return true;
      }
      output.append( chunk, static_cast< size_t >( size ) );
   }
   return false;
}

int Shell::patience() const {
   if ( !end_ ) {
      return -1;
   }
   auto left = std::chrono::ceil< milliseconds >( *end_ - Clock::now() ).count();
   return static_cast< int >( std::clamp< int64_t >( left, 0, INT_MAX ) );
}

std::optional< int > Shell::awaitEnd() {
   int status = 0;
   pid_t ended;
   while ( ( ended = TEMP_FAILURE_RETRY( waitpid( process_, &status, end_ ? WNOHANG : 0 ) ) ) ==
           0 ) {
      if ( isLate() ) {
         return std::nullopt;
      }
      std::this_thread::sleep_for( kStep );
   }
   process_ = 0;
   return ended < 0 ? -1 : status;
}

}  // namespace Drivers
