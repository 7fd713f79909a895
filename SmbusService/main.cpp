#include <fmt/format.h>
#include <signal.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <asio/signal_set.hpp>
#include <optional>

#include "Platform/ServicePath.h"
#include "SmbusService/Emulator/BoardLoader.h"
#include "SmbusService/Emulator/Control.h"
#include "SmbusService/Readiness.h"
#include "SmbusService/Server.h"
#include "Utils/StandardStreams.h"

namespace {

using namespace SmbusService;

constexpr int kFailed = 1;
constexpr int kWrongUse = 2;

struct Options {
   std::string board;
   std::string socket;
   std::string control;
};

void serveBoard( const Options& options, Log& log ) {
   auto board = Emulator::loadBoard( options.board );
   asio::io_context context( 1 );
   asio::signal_set signals( context, SIGTERM, SIGINT );
   Server server( context, *board, options.socket, log );
   std::optional< Emulator::Control > control;
   if ( !options.control.empty() ) {
      control.emplace( *board, options.control );
   }
   Readiness readiness( context );
   signals.async_wait( [ & ]( asio::error_code, int ) {
      readiness.stopping();
      server.stop();
   } );
   std::string announcement = fmt::format( "serving {} at {}", options.board, options.socket );
   Log announcements( STDOUT_FILENO );
   announcements.write( announcement );
   readiness.ready( announcement );
   context.run();
}

}  // namespace

int main( int argc, char** argv ) {
   Utils::openStandardStreams();
   signal( SIGPIPE, SIG_IGN );
   Options options{ .board = {}, .socket = PlatformLibrary::servicePath(), .control = {} };
   CLI::App app( "SMBus service: executes batches of SMBus transfers for its clients." );
   app.add_option( "--emulate", options.board, "serve the emulated board of this folder" )
      ->type_name( "BOARD" );
   app.add_option( "--socket", options.socket, "where clients connect; PL_SMBUS_SOCKET if set" )
      ->type_name( "PATH" )
      ->capture_default_str();
   app.add_option( "--control", options.control,
                   "where the emulated board is controlled: one JSON object a line" )
      ->type_name( "PATH" );
   app.set_version_flag( "--version", "lumen-smbusd " LUMEN_VERSION );
   try {
      app.parse( argc, argv );
   } catch ( const CLI::ParseError& error ) {
      return app.exit( error ) ? kWrongUse : 0;
   }
   Log log( STDERR_FILENO );
   if ( options.board.empty() ) {
      log.write( "nothing to serve: name a board's folder with --emulate BOARD" );
      return kWrongUse;
   }
   try {
      serveBoard( options, log );
   } catch ( const BoardFiles::BoardError& error ) {
      // Nobody is served yet, who could have to wait for them.
      for ( const std::string& line : BoardFiles::linesOf( error.findings ) ) {
         fprintf( stderr, "lumen-smbusd: %s\n", line.c_str() );
      }
      return kFailed;
   } catch ( const std::exception& error ) {
      log.write( error.what() );
      return kFailed;
   }
   return 0;
}
