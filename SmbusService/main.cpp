#include <fmt/format.h>
#include <signal.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <asio/signal_set.hpp>
#include <optional>

#include "Platform/ServicePath.h"
#include "SmbusService/Control.h"
#include "SmbusService/ControlSocket.h"
#include "SmbusService/Emulator/BoardLoader.h"
#include "SmbusService/LinuxI2c/KernelBackend.h"
#include "SmbusService/Readiness.h"
#include "SmbusService/Replay.h"
#include "SmbusService/Server.h"
#include "SmbusService/WireLog.h"
#include "Utils/StandardStreams.h"

namespace {

using namespace SmbusService;

constexpr int kFailed = 1;
constexpr int kWrongUse = 2;

// Nobody is served yet, who could have to wait for the lines.
void complain( const std::vector< BoardFiles::Finding >& findings ) {
   for ( const std::string& line : BoardFiles::linesOf( findings ) ) {
      fprintf( stderr, "lumen-smbusd: %s\n", line.c_str() );
   }
}

struct Options {
   std::string board;  // one of these two
   std::string emulated;
   std::string socket;
   std::string control;
   std::string wireLog;
   std::string replay;

   const std::string& directory() const { return board.empty() ? emulated : board; }
};

// Serves until a signal ends the process. At SIGHUP it calls `reload`.
void serve( const Options& options,
            Backend& backend,
            const Controlled& controlled,
            Log& log,
            const std::function< void() >& reload ) {
   asio::io_context context( 1 );
   std::optional< ControlSocket > control;
   if ( !options.control.empty() ) {
      auto answer = [ & ]( std::string_view line ) { return answerControl( controlled, line ); };
      control.emplace( answer, options.control );
   }
   asio::signal_set ends( context, SIGTERM, SIGINT );
   asio::signal_set hangups( context, SIGHUP );
   Server server( context, backend, options.socket, log );
   Readiness readiness( context );
   std::string announcement =
      fmt::format( "serving {} at {}", options.directory(), options.socket );
   bool isEnding = false;  // a hangup that is due already cannot be cancelled
   ends.async_wait( [ & ]( asio::error_code, int ) {
      isEnding = true;
      readiness.stopping();
      hangups.cancel();
      server.stop();
   } );
   std::function< void( asio::error_code, int ) > onHangup = [ & ]( asio::error_code error, int ) {
      if ( !error && !isEnding ) {
         readiness.reloading();
         reload();
         readiness.ready( announcement );
         hangups.async_wait( onHangup );
      }
   };
   hangups.async_wait( onHangup );
   Log announcements( STDOUT_FILENO );
   announcements.write( announcement );
   readiness.ready( announcement );
   context.run();
}

void keepLog( const Options& options, Backend& backend, WireLog& wireLog, Log& log ) {
   if ( !options.wireLog.empty() ) {
      wireLog.appendTo( options.wireLog, log );
   }
   backend.keepLog( wireLog );
}

void serveEmulated( const Options& options, Log& log ) {
   WireLog wireLog;
   auto board = Emulator::loadBoard( options.emulated );
   std::unique_ptr< Replay > replay;
   if ( !options.replay.empty() ) {
      replay = std::make_unique< Replay >( *board, BoardFiles::readWireLog( options.replay ) );
   }
   Backend& backend = replay ? static_cast< Backend& >( *replay ) : *board;
   keepLog( options, backend, wireLog, log );
   serve( options, backend, { wireLog, board.get() }, log, [] {} );
}

BoardFiles::Board loadKernelBoard( const std::string& directory ) {
   return BoardFiles::loadBoard( directory, { .adapters = BoardFiles::Presence::Needed } );
}

// A topology that changed would not be the one that clients have.
void reload( LinuxI2c::KernelBackend& backend, const BoardFiles::Board& before, Log& log ) {
   try {
      BoardFiles::Board board = loadKernelBoard( before.directory );
      if ( board.topology != before.topology ) {
         log.write( "topology.json has changed: restart the service; nothing is reloaded" );
         return;
      }
      backend.check( board );
      backend.assign( board );
      log.write( "reloaded" );
   } catch ( const BoardFiles::BoardError& error ) {
      log.write( "nothing is reloaded:" );
      for ( const std::string& line : BoardFiles::linesOf( error.findings ) ) {
         log.write( line );
      }
   } catch ( const std::exception& error ) {
      log.write( fmt::format( "nothing is reloaded: {}", error.what() ) );
   }
}

void serveKernel( const Options& options, Log& log ) {
   BoardFiles::Board board = loadKernelBoard( options.board );
   WireLog wireLog;
   LinuxI2c::System system;
   LinuxI2c::KernelBackend backend( system );
   keepLog( options, backend, wireLog, log );
   backend.check( board );
   backend.assign( board );
   complain( board.warnings );
   backend.closeMuxes( log );
   serve( options, backend, { wireLog }, log, [ & ] { reload( backend, board, log ); } );
}

}  // namespace

int main( int argc, char** argv ) {
   Utils::openStandardStreams();
   signal( SIGPIPE, SIG_IGN );
   Options options;
   options.socket = PlatformLibrary::servicePath();
   CLI::App app( "SMBus service: executes batches of SMBus transfers for its clients." );
   auto board = app.add_option( "--board", options.board,
                                "serve the system's I2C adapters, as this folder's adapters.json "
                                "names them" )
                   ->type_name( "BOARD" );
   auto emulated =
      app.add_option( "--emulate", options.emulated, "serve the emulated board of this folder" )
         ->type_name( "BOARD" )
         ->excludes( board );
   app.add_option( "--socket", options.socket, "where clients connect; PL_SMBUS_SOCKET if set" )
      ->type_name( "PATH" )
      ->capture_default_str();
   app.add_option( "--control", options.control,
                   "where the wire log is handed out and an emulated board controlled" )
      ->type_name( "PATH" );
   app.add_option( "--wire-log", options.wireLog, "append every transfer to this file" )
      ->type_name( "FILE" );
   app.add_option( "--replay", options.replay, "answer reads as this wire log recorded them" )
      ->type_name( "FILE" )
      ->needs( emulated );
   app.set_version_flag( "--version", "lumen-smbusd " LUMEN_VERSION );
   try {
      app.parse( argc, argv );
   } catch ( const CLI::ParseError& error ) {
      return app.exit( error ) ? kWrongUse : 0;
   }
   Log log( STDERR_FILENO );
   if ( options.directory().empty() ) {
      log.write( "nothing to serve: name a board's folder with --board or --emulate" );
      return kWrongUse;
   }
   try {
      options.board.empty() ? serveEmulated( options, log ) : serveKernel( options, log );
   } catch ( const BoardFiles::BoardError& error ) {
      complain( error.findings );
      return kFailed;
   } catch ( const std::exception& error ) {
      log.write( error.what() );
      return kFailed;
   }
   return 0;
}
