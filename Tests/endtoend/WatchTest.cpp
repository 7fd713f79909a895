#include <gmock/gmock.h>
#include <poll.h>
#include <pty.h>
#include <termios.h>

#include <chrono>

#include "Tests/endtoend/Process.h"

using testing::ContainsRegex;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

namespace Tests {
namespace {

using std::chrono::steady_clock;

constexpr std::chrono::seconds kPatience( 20 );
const std::string kWatch = "lumen --board Boards/demo --emulate watch ";

// A shell on a terminal of its own; what it prints is kept. The terminal vanishes with
// the object at the latest.
class Terminal {
 public:
   Terminal( const std::string& script, unsigned short lines, unsigned short columns ) {
      winsize size{ lines, columns, 0, 0 };
      shell_ = forkpty( &terminal_, nullptr, nullptr, &size );
      if ( shell_ == 0 ) {
         std::string line = "cd " LUMEN_SOURCE_DIR "; PATH=" LUMEN_BIN_DIR
                            ":$PATH TERM=xterm; ulimit -c 0; modes=$(stty -g); "
                            "modes() { [ $(stty -g) = $modes ] && echo same modes; }; " +
                            script;
         execl( "/bin/sh", "sh", "-c", line.c_str(), nullptr );
         _exit( 127 );
      }
   }
   ~Terminal() {
      close( terminal_ );
      waitpid( shell_, nullptr, 0 );
   }
   Terminal( const Terminal& ) = delete;
   Terminal& operator=( const Terminal& ) = delete;

   // What comes until the text does, with it; or all that comes.
   std::string await( const std::string& text ) {
      auto end = steady_clock::now() + kPatience;
      while ( output_.find( text ) == output_.npos && steady_clock::now() < end ) {
         pollfd output{ terminal_, POLLIN, 0 };
         char bytes[ 4096 ];
         ssize_t size = poll( &output, 1, 1000 ) > 0 ? read( terminal_, bytes, sizeof bytes ) : 0;
         if ( size < 0 ) {
            break;
         }
         output_.append( bytes, static_cast< size_t >( size ) );
      }
      size_t at = output_.find( text );
      std::string shown = output_.substr( 0, at == output_.npos ? at : at + text.size() );
      output_.erase( 0, shown.size() );
      return shown;
   }

   void type( const std::string& keys ) const {
      ASSERT_EQ( write( terminal_, keys.data(), keys.size() ),
                 static_cast< ssize_t >( keys.size() ) );
   }

   // To the job in the foreground.
   void signal( int number ) const { kill( tcgetpgrp( terminal_ ), number ); }

 private:
   std::string output_;
   int terminal_ = -1;
   pid_t shell_;
};

// Before it, nothing is ok.
const char* const kFirstSweep = "ok";

const char* const kEnter = "\x1b[?1049h";
const char* const kLeave = "\x1b[?1049l";

// A key or a signal that ends the watch, and the status that the shell tells.
struct End {
   const char* keys;
   int signal;
   int status;
};

struct WatchEndTest : testing::TestWithParam< End > {};

TEST_P( WatchEndTest, LeavesTheTerminalAsItWas ) {
   for ( unsigned short columns : { 80, 20 } ) {
      Terminal terminal(
         "set -m; " + kWatch + "--interval 3600; echo status $?; modes; echo finished",
         columns == 80 ? 24 : 5, columns );
      EXPECT_THAT( terminal.await( kFirstSweep ), HasSubstr( kEnter ) );
      auto start = steady_clock::now();
      terminal.type( GetParam().keys );
      if ( GetParam().signal ) {
         terminal.signal( GetParam().signal );
      }
      std::string rest = terminal.await( "finished" );
      EXPECT_LT( steady_clock::now() - start, std::chrono::seconds( 5 ) );
      EXPECT_THAT( rest, HasSubstr( kLeave ) );
      std::string status = "status " + std::to_string( GetParam().status ) + "\r\n";
      EXPECT_THAT( rest, HasSubstr( status ) );
      EXPECT_THAT( rest, HasSubstr( "same modes" ) );
      EXPECT_LT( rest.find( kLeave ), rest.find( status ) );
   }
}

INSTANTIATE_TEST_SUITE_P( Ends,
                          WatchEndTest,
                          testing::Values( End{ "q", 0, 0 },
                                           End{ "\x03", 0, 0 },
                                           End{ "\x1c", 0, 128 + SIGQUIT },
                                           End{ "", SIGTERM, 0 },
                                           End{ "", SIGHUP, 128 + SIGHUP },
                                           End{ "", SIGABRT, 128 + SIGABRT } ) );

TEST( WatchScreen, GivesTheTerminalBackWhileItIsStopped ) {
   Terminal terminal( "set -m; " + kWatch + "; modes; fg; modes; echo finished", 24, 80 );
   terminal.await( kFirstSweep );
   terminal.type( "\x1a" );
   EXPECT_THAT( terminal.await( "same modes" ), AllOf( HasSubstr( kLeave ), EndsWith( "modes" ) ) );
   EXPECT_THAT( terminal.await( "inlet" ), AllOf( HasSubstr( kEnter ), EndsWith( "inlet" ) ) );
   terminal.type( "q" );
   EXPECT_THAT( terminal.await( "finished" ), HasSubstr( "same modes" ) );
}

TEST( WatchScreen, EndsWithItsTerminalThoughNoSignalTellsOfIt ) {
   TemporaryDirectory files;
   std::string file = files.path() / "status";
   {
      Terminal terminal( "trap '' HUP; " + kWatch + "--interval 3600; echo $? >" + file, 24, 80 );
      terminal.await( kFirstSweep );
   }
   EXPECT_EQ( textOf( file ), "0\n" );
}

TEST( WatchScreen, IsForTerminalsThatCanShowIt ) {
   Terminal dumb( "TERM=dumb NO_COLOR=1 " + kWatch + "--count 1; echo finished", 24, 80 );
   EXPECT_THAT( dumb.await( "finished" ),
                AllOf( StartsWith( "object" ), Not( HasSubstr( "\x1b" ) ) ) );
   Terminal plain( "NO_COLOR=1 " + kWatch + "--count 1; echo finished", 24, 80 );
   EXPECT_THAT( plain.await( "finished" ),
                AllOf( HasSubstr( kEnter ), Not( ContainsRegex( "\x1b\\[3[0-9]m" ) ) ) );
   Terminal traced( "lumen --trace 0 --board Boards/demo --emulate watch; echo finished", 24, 80 );
   EXPECT_THAT( traced.await( "finished" ),
                AllOf( HasSubstr( "2>FILE" ), Not( HasSubstr( kEnter ) ) ) );
}

}  // namespace
}  // namespace Tests
