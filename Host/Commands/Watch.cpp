#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdlib>
#include <memory>

#include "Host/Commands/Commands.h"
#include "Host/Commands/Names.h"
#include "Host/Output/Print.h"
#include "Host/Output/Report.h"
#include "Host/Session/Service.h"
#include "Host/Session/SettingOperations.h"
#include "Host/Session/UseError.h"
#include "Host/Watch/ScreenWatch.h"

namespace Host {

namespace {

constexpr double kShortestInterval = 0.05;  // seconds
constexpr double kLongestInterval = 3600;

using Clock = std::chrono::steady_clock;

struct WatchArguments {
   double interval = 1;                       // seconds
   unsigned count = 0;                        // 0: until interrupted
   std::vector< std::string > settings = {};  // NAME=VALUE
};

// Refuses what is no number at all as well, which a range lets pass.
std::string checkInterval( std::string& text ) {
   double seconds = NAN;
   bool isNumber = CLI::detail::lexical_cast( text, seconds );
   return isNumber && seconds >= kShortestInterval && seconds <= kLongestInterval
             ? ""
             : fmt::format( "{} is not from {} to {} seconds", text, kShortestInterval,
                            kLongestInterval );
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

// False when there was a signal before.
bool awaitSweep( Session& session, const Signals& signals ) {
   session.begin();
   while ( session.isBusy() && signals.take().none() ) {
      session.await( std::chrono::hours( 1 ), signals.descriptor() );
   }
   return !session.isBusy() && signals.take().none();
}

// False when there was a signal before.
bool awaitTime( Session& session, const Signals& signals, Clock::time_point end ) {
   using namespace std::chrono;
   while ( signals.take().none() ) {
      auto left = ceil< milliseconds >( end - Clock::now() );
      if ( left <= milliseconds::zero() ) {
         return true;
      }
      session.await( left, signals.descriptor() );
   }
   return false;
}

// One table, or one document, for each sweep.
int watchSweeps( const Program& program, const WatchArguments& arguments, Session& session ) {
   Signals signals( { SIGINT, SIGTERM } );
   auto interval = std::chrono::duration_cast< Clock::duration >(
      std::chrono::duration< double >( arguments.interval ) );
   bool ok = true;
   auto next = Clock::now();
   for ( unsigned sweep = 1; awaitSweep( session, signals ); ++sweep ) {
      next = std::max( next + interval, Clock::now() );
      const auto& observations = session.latest();
      ok = allOk( observations );
      print( program.json ? statusJsonLine( program.board, observations )
                          : statusTable( observations, TableStyle::ofOutput() ) + "\n" +
                               summaryText( observations ) + "\n" );
      if ( !flushOutput() || sweep == arguments.count || !awaitTime( session, signals, next ) ) {
         break;
      }
   }
   return ok ? kAllWell : kNotWell;
}

int watchOnScreen( const Program& program, const WatchArguments& arguments, Session& session ) {
   Signals signals = ScreenWatch::signals();
   WatchHeading heading{ program.board, arguments.interval, !serviceNeeded() };
   int end = ScreenWatch( session, signals, heading, arguments.count ).run();
   if ( end == SIGQUIT || end == SIGHUP ) {
      signals.obey( end );
   }
   bool ok = std::ranges::all_of( session.latest(), []( const Observation& each ) {
      return each.state == State::Ok || each.state == State::Pending;
   } );
   return ok ? kAllWell : kNotWell;
}

int watch( const Program& program, const WatchArguments& arguments ) {
   bool isOnScreen = !program.json && Terminal::isCapable();
   if ( isOnScreen && ( program.trace >= 0 || program.traceWire ) && Terminal::hasErrors() ) {
      throw UseError(
         "--trace and --trace-wire would print across the screen of watch: send them to a file, "
         "with 2>FILE" );
   }
   OpenBoard open( program, loadBoard( program ) );
   applySettings( open, arguments.settings );
   return isOnScreen ? watchOnScreen( program, arguments, open.session )
                     : watchSweeps( program, arguments, open.session );
}

}  // namespace

void addWatchCommand( CLI::App& app, Program& program ) {
   auto arguments = std::make_shared< WatchArguments >();
   auto command = addCommand( app, program,
                              { "watch",
                                "the status on the whole screen, refreshed until q or Ctrl-C; "
                                "without a terminal, a table for each reading" },
                              [ &program, arguments ] { return watch( program, *arguments ); } );
   command
      ->add_option( "--interval", arguments->interval,
                    "from one reading to the next, 0.05 to 3600" )
      ->type_name( "SECONDS" )
      ->check( CLI::Validator( checkInterval, "" ) )
      ->capture_default_str();
   command
      ->add_option( "--count", arguments->count,
                    "end after this many readings; without it or with 0 never" )
      ->type_name( "N" );
   command
      ->add_option( "--set", arguments->settings,
                    "drive an object first, to what \"lumen set --help\" tells; may be repeated" )
      ->type_name( kNameAndSettingType );
}

}  // namespace Host
