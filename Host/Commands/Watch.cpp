#include <fmt/format.h>
#include <poll.h>
#include <signal.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <chrono>
#include <cmath>
#include <memory>

#include "Host/Commands/Commands.h"
#include "Host/Output/Print.h"
#include "Host/Output/Report.h"
#include "Host/Session/SettingOperations.h"
#include "Host/Session/UseError.h"

namespace Host {

namespace {

constexpr const char* kHideCursor = "\x1b[?25l";
constexpr const char* kShowCursor = "\x1b[?25h";
constexpr const char* kHomeAndClear = "\x1b[H\x1b[2J";

constexpr double kShortestInterval = 0.05;  // seconds
constexpr double kLongestInterval = 3600;

struct Arguments {
   double interval = 1;                       // seconds
   unsigned count = 0;                        // 0: until interrupted
   std::vector< std::string > settings = {};  // NAME=VALUE
};

volatile sig_atomic_t interrupted = 0;

void noteInterrupt( int ) {
   interrupted = 1;
}

// The terminal shows one table, rewritten in place; anything else gets one table after the other.
class Screen {
 public:
   Screen() : terminal_( isatty( STDOUT_FILENO ) ) { put( kHideCursor ); }
   ~Screen() { put( kShowCursor ); }
   Screen( const Screen& ) = delete;
   Screen& operator=( const Screen& ) = delete;

   // False when nobody can see it any more.
   bool show( const std::string& text ) {
      put( kHomeAndClear );
      print( text );
      return flushOutput();
   }

 private:
   void put( const char* sequence ) const {
      if ( terminal_ ) {
         print( sequence );
         flushOutput();
      }
   }

   bool terminal_;
};

// Refuses what is no number at all as well, which a range lets pass.
std::string checkInterval( std::string& text ) {
   double seconds = NAN;
   bool isNumber = CLI::detail::lexical_cast( text, seconds );
   return isNumber && seconds >= kShortestInterval && seconds <= kLongestInterval
             ? ""
             : text + " is not in range";
}

void catchInterrupts() {
   struct sigaction action {};
   action.sa_handler = noteInterrupt;
   action.sa_flags = SA_RESETHAND;  // a second interrupt does not wait for a chip
   sigaction( SIGINT, &action, nullptr );
   sigaction( SIGTERM, &action, nullptr );
}

void applySettings( OpenBoard& open, const std::vector< std::string >& settings ) {
   for ( const std::string& text : settings ) {
      size_t equals = text.find( '=' );
      if ( equals == std::string::npos ) {
         throw UseError( fmt::format( "--set {}: give NAME=VALUE", text ) );
      }
      size_t object = findObject( open.board, text.substr( 0, equals ) );
      open.session.settingIs(
         object, parseSetting( open.board.objects[ object ], text.substr( equals + 1 ) ) );
   }
}

int watch( const Program& program, const Arguments& arguments ) {
   OpenBoard open( program, loadBoard( program ) );
   applySettings( open, arguments.settings );
   catchInterrupts();
   Screen screen;
   bool ok = true;
   for ( unsigned round = 0; !interrupted; ++round ) {
      auto observations = open.session.read();
      if ( interrupted ) {
         break;
      }
      ok = allOk( observations );
      bool isSeen =
         screen.show( program.json ? statusJson( program.board, observations )
                                   : statusTable( observations, TableStyle::ofOutput() ) + "\n" );
      if ( !isSeen || round + 1 == arguments.count ) {
         break;
      }
      poll( nullptr, 0, static_cast< int >( arguments.interval * 1000 ) );
   }
   return ok ? kAllWell : kNotWell;
}

}  // namespace

void addWatchCommand( CLI::App& app, Program& program ) {
   auto arguments = std::make_shared< Arguments >();
   auto command = addCommand( app, program, { "watch", "the status, refreshed until Ctrl-C" },
                              [ &program, arguments ] { return watch( program, *arguments ); } );
   command->add_option( "--interval", arguments->interval, "seconds between two readings" )
      ->check( CLI::Validator( checkInterval, "FLOAT in [0.05 - 3600]" ) )
      ->capture_default_str();
   command->add_option( "--count", arguments->count, "end after this many readings" );
   command
      ->add_option(
         "--set", arguments->settings,
         "drive an object first: an LED to a status, a fan to an rpm or a percentage of its "
         "range (50%), a GPIO to a bit, a PoE port to on or off" )
      ->type_name( "NAME=VALUE" );
}

}  // namespace Host
