#include "Host/Watch/Terminal.h"

#define NCURSES_NOMACROS
#include <curses.h>
#include <poll.h>
#include <signal.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <term.h>
#include <unistd.h>

#include <cstdint>
#include <cstring>

namespace Host {

namespace {

constexpr int kCrashes[] = { SIGABRT, SIGSEGV, SIGBUS, SIGFPE, SIGILL };

// For the handler, which must find them whole.
termios modes;
pid_t owner = -1;
const char* rescue = "";

// Not where somebody else, a sanitizer say, has a handler.
void exchangeHandler( int number, void ( *expected )( int ), void ( *handler )( int ) ) {
   struct sigaction action {};
   sigaction( number, nullptr, &action );
   if ( action.sa_handler == expected ) {
      action.sa_handler = handler;
      sigaction( number, &action, nullptr );
   }
}

}  // namespace

bool Terminal::isCapable() {
   if ( !isatty( STDIN_FILENO ) || !isatty( STDOUT_FILENO ) ) {
      return false;
   }
   int problem = 0;
   if ( setupterm( nullptr, STDOUT_FILENO, &problem ) != OK ) {
      return false;
   }
   bool isCapable = *capability( "cup" ) && *capability( "clear" );
   del_curterm( cur_term );
   return isCapable;
}

const char* Terminal::capability( const char* name ) {
   const char* sequence = tigetstr( name );
   // A name that is none gives -1.
   return sequence && reinterpret_cast< intptr_t >( sequence ) != -1 ? sequence : "";
}

bool Terminal::hasErrors() {
   struct stat output {};
   struct stat errors {};
   return isatty( STDERR_FILENO ) && fstat( STDOUT_FILENO, &output ) == 0 &&
          fstat( STDERR_FILENO, &errors ) == 0 && output.st_rdev == errors.st_rdev;
}

Terminal::Terminal() {
   tcgetattr( STDIN_FILENO, &modes );
   owner = getpid();
   rescue = "";
   for ( int number : kCrashes ) {
      exchangeHandler( number, SIG_DFL, giveBack );
   }
}

Terminal::~Terminal() {
   for ( int number : kCrashes ) {
      exchangeHandler( number, giveBack, SIG_DFL );
   }
   owner = -1;
}

// The signal is blocked until it has returned.
void Terminal::giveBack( int number ) {
   if ( getpid() == owner ) {
      ( void )!write( STDOUT_FILENO, rescue, strlen( rescue ) );
      tcsetattr( STDIN_FILENO, TCSANOW, &modes );
   }
   signal( number, SIG_DFL );
   raise( number );
}

void Terminal::rescueIs( const char* sequence ) {
   rescue = sequence;
}

void Terminal::restoreModes() const {
   tcsetattr( STDIN_FILENO, TCSANOW, &modes );
}

bool Terminal::isForeground() {
   return tcgetpgrp( STDIN_FILENO ) == getpgrp();
}

bool Terminal::isGone() {
   pollfd input{ STDIN_FILENO, POLLIN, 0 };
   int size = 0;
   poll( &input, 1, 0 );
   bool isAtEnd = ( input.revents & POLLIN ) && ioctl( STDIN_FILENO, FIONREAD, &size ) == 0 &&
                  size == 0 && isForeground();
   return isAtEnd || ( input.revents & ~POLLIN );
}

}  // namespace Host
