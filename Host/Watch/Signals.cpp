#include "Host/Watch/Signals.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

namespace Host {

namespace {

int writeEnd = -1;
pid_t owner = -1;
void ( *handleSecond )( int ) = SIG_DFL;

bool endsProcess( int number ) {
   return number == SIGINT || number == SIGTERM || number == SIGQUIT || number == SIGHUP;
}

void note( int number ) {
   int error = errno;
   if ( getpid() == owner ) {
      auto byte = static_cast< unsigned char >( number );
      ( void )!write( writeEnd, &byte, 1 );  // when the pipe is full, there is enough to do
      if ( endsProcess( number ) ) {
         signal( number, handleSecond );
      }
   }
   errno = error;
}

}  // namespace

Signals::Signals( const std::vector< int >& numbers, void ( *secondTime )( int ) ) {
   int ends[ 2 ];
   if ( pipe2( ends, O_CLOEXEC | O_NONBLOCK ) < 0 ) {
      throw std::system_error( errno, std::generic_category(), "pipe" );
   }
   readEnd_ = ends[ 0 ];
   writeEnd = ends[ 1 ];
   owner = getpid();
   handleSecond = secondTime;
   for ( int number : numbers ) {
      struct sigaction former {};
      sigaction( number, nullptr, &former );
      if ( former.sa_handler != SIG_IGN || number == SIGINT ) {
         former_[ number ] = former;
         handle( number );
      }
   }
}

Signals::~Signals() {
   for ( const auto& [ number, action ] : former_ ) {
      sigaction( number, &action, nullptr );
   }
   close( readEnd_ );
   close( writeEnd );
}

void Signals::handle( int number ) {
   struct sigaction action {};
   action.sa_handler = note;
   action.sa_flags = endsProcess( number ) ? 0 : SA_RESTART;
   sigaction( number, &action, nullptr );
}

Signals::Set Signals::take() const {
   Set set;
   unsigned char byte = 0;
   while ( read( readEnd_, &byte, 1 ) == 1 ) {
      set.set( byte );
   }
   return set;
}

void Signals::obey( int number ) {
   signal( number, SIG_DFL );
   raise( number );
   if ( former_.contains( number ) ) {
      handle( number );
   }
}

}  // namespace Host
