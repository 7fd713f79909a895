#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>

#include "Platform/TrialOutput.h"
#include "pl_host.h"

namespace PlatformLibrary {

namespace {

using std::chrono::milliseconds;
using Clock = std::chrono::steady_clock;

// Between two looks at a child whose pipe tells nothing, and at one that has closed it.
constexpr milliseconds kStep( 50 );
constexpr milliseconds kShortStep( 1 );

constexpr size_t kBuffer = 4096;
constexpr int kMostBuffers = 256;  // of what an ended child has left: as much as a pipe may hold

using Attempt = int( void* );

void sendTrace( void* pipe, int level, const char* text ) {
   TrialOutput::sendTrace( *static_cast< int* >( pipe ), level, text );
}

[[noreturn]] void runChild( Attempt* attempt, void* user, int pipe, pid_t parent ) noexcept {
   setpgid( 0, 0 );
   prctl( PR_SET_PDEATHSIG, SIGKILL );
   if ( getppid() != parent ) {
      _exit( EXIT_FAILURE );
   }
   dup2( pipe, STDERR_FILENO );
   pl_trace_sink_set( sendTrace, &pipe );
   int result = attempt( user );
   fflush( nullptr );
   TrialOutput::sendResult( pipe, result );
   _exit( EXIT_SUCCESS );
}

// The parent's side of a trial. Its end leaves no process and no descriptor.
class Trial {
 public:
   Trial( pid_t child, int pipe ) : child_( child ), pipe_( pipe ) {
      setpgid( child_, child_ );  // whoever is first, the child or this
      fcntl( pipe_, F_SETFL, O_NONBLOCK );
   }
   ~Trial() {
      reap();
      close( pipe_ );
   }
   Trial( const Trial& ) = delete;
   Trial& operator=( const Trial& ) = delete;

   int await( int timeoutMs, pl_trial& trial );

 private:
   bool hasEnded();
   void takeOutput( milliseconds patience );
   bool drain();
   int reap();

   pid_t child_;  // 0 when it is reaped, by whomever
   const int pipe_;
   bool isOpen_ = true;  // the pipe's other end
   TrialOutput output_;
};

int Trial::await( int timeoutMs, pl_trial& trial ) {
   auto start = Clock::now();
   milliseconds left( timeoutMs );
   bool ended;
   while ( !( ended = hasEnded() ) && ( timeoutMs < 0 || left.count() > 0 ) ) {
      milliseconds step = isOpen_ ? kStep : kShortStep;
      takeOutput( timeoutMs < 0 ? step : std::min( step, left ) );
      left = milliseconds( timeoutMs ) - std::chrono::floor< milliseconds >( Clock::now() - start );
   }
   bool isLost = child_ == 0;
   int status = reap();
   for ( int i = 0; i < kMostBuffers && drain(); ++i ) {
   }
   output_.finish();
   if ( const int* result = output_.result() ) {
      trial = { PL_TRIAL_RETURNED, *result, 0 };
   } else if ( isLost ) {
      errno = ECHILD;
      return -1;
   } else if ( WIFEXITED( status ) ) {
      trial = { PL_TRIAL_EXITED, WEXITSTATUS( status ), 0 };
   } else if ( !ended && WTERMSIG( status ) == SIGKILL ) {
      trial = { PL_TRIAL_TIMED_OUT, 0, 0 };
   } else {
      trial = { PL_TRIAL_KILLED, 0, WTERMSIG( status ) };
   }
   return 0;
}

bool Trial::hasEnded() {
   siginfo_t info{};
   auto result = TEMP_FAILURE_RETRY(
      waitid( P_PID, static_cast< id_t >( child_ ), &info, WEXITED | WNOHANG | WNOWAIT ) );
   if ( result < 0 ) {
      child_ = 0;
   }
   return result < 0 || info.si_pid == child_;
}

void Trial::takeOutput( milliseconds patience ) {
   pollfd descriptor{ isOpen_ ? pipe_ : -1, POLLIN, 0 };
   if ( poll( &descriptor, 1, static_cast< int >( patience.count() ) ) > 0 ) {
      drain();
   }
}

// What is there now, up to a buffer. False when there was nothing.
bool Trial::drain() {
   char buffer[ kBuffer ];
   ssize_t count = TEMP_FAILURE_RETRY( read( pipe_, buffer, sizeof buffer ) );
   isOpen_ = count != 0;
   if ( count > 0 ) {
      output_.take( { buffer, static_cast< size_t >( count ) } );
   }
   return count > 0;
}

// Kills the group while the child, which may have ended, still keeps the number from others.
int Trial::reap() {
   int status = 0;
   if ( child_ ) {
      kill( -child_, SIGKILL );
      kill( child_, SIGKILL );
      TEMP_FAILURE_RETRY( waitpid( child_, &status, 0 ) );
      child_ = 0;
   }
   return status;
}

}  // namespace

}  // namespace PlatformLibrary

int pl_try( int ( *attempt )( void* ), void* user, int timeout_ms, struct pl_trial* trial ) {
   using namespace PlatformLibrary;
   if ( !attempt || !trial || timeout_ms < -1 ) {
      errno = EINVAL;
      return -1;
   }
   int pipes[ 2 ];
   if ( pipe2( pipes, O_CLOEXEC ) < 0 ) {
      return -1;
   }
   fflush( nullptr );  // or both would print what is in the buffers
   pid_t parent = getpid();
   pid_t child = fork();
   if ( child == 0 ) {
      close( pipes[ 0 ] );
      runChild( attempt, user, pipes[ 1 ], parent );
   }
   int error = errno;
   close( pipes[ 1 ] );
   if ( child < 0 ) {
      close( pipes[ 0 ] );
      errno = error;
      return -1;
   }
   return Trial( child, pipes[ 0 ] ).await( timeout_ms, *trial );
}
