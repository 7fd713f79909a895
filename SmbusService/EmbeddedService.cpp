#include "SmbusService/EmbeddedService.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <poll.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <asio/signal_set.hpp>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <system_error>

#include "SmbusService/Emulator/BoardLoader.h"
#include "SmbusService/Server.h"

namespace SmbusService {

namespace {

constexpr int kStopLimitMs = 5000;
constexpr size_t kLongestDirectory = 80;  // a socket's path has room for 107 characters

std::string makeDirectory() {
   const char* configured = getenv( "TMPDIR" );
   std::string parent = configured && *configured ? configured : "/tmp";
   std::string path = ( parent.size() > kLongestDirectory ? "/tmp" : parent ) + "/lumen-XXXXXX";
   if ( !mkdtemp( path.data() ) ) {
      throw std::runtime_error(
         fmt::format( "{}: {}", path, std::generic_category().message( errno ) ) );
   }
   return path;
}

void removeDirectory( const std::string& socketPath ) {
   unlink( socketPath.c_str() );
   unlink( Listener::lockFileFor( socketPath ).c_str() );
   rmdir( std::filesystem::path( socketPath ).parent_path().c_str() );
}

// The process's own handlers do not belong in the child, and what the terminal sends to the whole
// group is the owner's to handle.
void settleSignals() {
   for ( int number = 1; number < NSIG; ++number ) {
      signal( number, SIG_DFL );
   }
   for ( int number : { SIGINT, SIGQUIT, SIGHUP, SIGTSTP, SIGPIPE } ) {
      signal( number, SIG_IGN );
   }
}

// The child. What it writes to the pipe is an error text, or one zero byte when it listens.
void serve( Backend& backend, const std::string& path, pid_t owner, int report ) {
   prctl( PR_SET_PDEATHSIG, SIGTERM );
   if ( getppid() != owner ) {
      return;
   }
   settleSignals();
   Log log( STDERR_FILENO );
   asio::io_context context( 1 );
   asio::signal_set signals( context, SIGTERM );
   Server server( context, backend, { path }, log );
   signals.async_wait( [ & ]( asio::error_code, int ) { server.stop(); } );
   sigset_t none;
   sigemptyset( &none );
   sigprocmask( SIG_SETMASK, &none, nullptr );
   if ( write( report, "", 1 ) == 1 ) {
      context.run();
   }
}

[[noreturn]] void runChild( Backend& backend, const std::string& path, pid_t owner, int report ) {
   try {
      serve( backend, path, owner, report );
   } catch ( const std::exception& error ) {
      std::string text = error.what();
      [[maybe_unused]] ssize_t written = write( report, text.data(), text.size() );
   }
   removeDirectory( path );
   _exit( 0 );
}

// While it lives, signals wait.
class SignalsHeld {
 public:
   SignalsHeld() {
      sigset_t all;
      sigfillset( &all );
      pthread_sigmask( SIG_SETMASK, &all, &before_ );
   }
   ~SignalsHeld() { pthread_sigmask( SIG_SETMASK, &before_, nullptr ); }
   SignalsHeld( const SignalsHeld& ) = delete;
   SignalsHeld& operator=( const SignalsHeld& ) = delete;

 private:
   sigset_t before_;
};

// Empty when the child listens.
std::string readReport( int report ) {
   char text[ 1024 ];
   ssize_t size = TEMP_FAILURE_RETRY( read( report, text, sizeof text ) );
   if ( size == 1 && text[ 0 ] == '\0' ) {
      return {};
   }
   return size > 0 ? std::string( text, static_cast< size_t >( size ) )
                   : "the board's service did not start";
}

// The pipe ends with the child.
bool waitForEnd( int life ) {
   pollfd entry{ life, POLLIN, 0 };
   return TEMP_FAILURE_RETRY( poll( &entry, 1, kStopLimitMs ) ) > 0;
}

}  // namespace

EmbeddedService::EmbeddedService( const std::string& boardDirectory ) : owner_( getpid() ) {
   std::unique_ptr< Backend > board = Emulator::loadBoard( boardDirectory );
   std::string problem = start( *board );
   if ( !problem.empty() ) {
      stop();
      throw std::runtime_error( problem );
   }
}

EmbeddedService::~EmbeddedService() {
   if ( getpid() == owner_ ) {
      stop();
   } else {
      close( life_ );
   }
}

std::string EmbeddedService::start( Backend& board ) {
   std::string problem = startChild( board );
   return problem.empty() ? readReport( life_ ) : problem;
}

// Until there is a child to remove the directory, nothing may end this process.
std::string EmbeddedService::startChild( Backend& board ) {
   SignalsHeld held;
   path_ = makeDirectory() + "/smbus.sock";
   int ends[ 2 ];
   if ( pipe2( ends, O_CLOEXEC ) < 0 ) {
      return std::generic_category().message( errno );
   }
   life_ = ends[ 0 ];
   child_ = fork();
   if ( child_ == 0 ) {
      close( life_ );
      runChild( board, path_, owner_, ends[ 1 ] );
   }
   int error = errno;
   close( ends[ 1 ] );
   return child_ < 0 ? std::generic_category().message( error ) : "";
}

void EmbeddedService::stop() {
   if ( child_ > 0 ) {
      kill( child_, SIGTERM );
      if ( !waitForEnd( life_ ) ) {
         kill( child_, SIGKILL );
      }
      TEMP_FAILURE_RETRY( waitpid( child_, nullptr, 0 ) );
   }
   if ( life_ >= 0 ) {
      close( life_ );
   }
   removeDirectory( path_ );
}

}  // namespace SmbusService
