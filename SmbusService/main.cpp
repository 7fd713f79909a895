#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <asio/signal_set.hpp>
#include <cstdlib>
#include <optional>

#include "SmbusService/Emulator/BoardLoader.h"
#include "SmbusService/Emulator/Control.h"
#include "SmbusService/Server.h"
#include "Utils/StandardStreams.h"
#include "Utils/Text.h"

namespace {

using namespace SmbusService;

constexpr const char* kDefaultSocket = "/run/lumen/smbus.sock";
constexpr int kFailed = 1;
constexpr int kWrongUse = 2;

struct Options {
   std::string board;
   std::string socket;
   std::string control;
};

std::string defaultSocket() {
   const char* path = getenv( "PL_SMBUS_SOCKET" );
   return path && *path ? path : kDefaultSocket;
}

void serveBoard( const Options& options ) {
   auto board = Emulator::loadBoard( options.board );
   asio::io_context context( 1 );
   asio::signal_set signals( context, SIGTERM, SIGINT );
   Server server( context, *board, options.socket );
   std::optional< Emulator::Control > control;
   if ( !options.control.empty() ) {
      control.emplace( *board, options.control );
   }
   signals.async_wait( [ & ]( asio::error_code, int ) { server.stop(); } );
   fmt::print( "lumen-smbusd: serving {} at {}\n", options.board, options.socket );
   fflush( stdout );
   context.run();
}

}  // namespace

int main( int argc, char** argv ) {
   Utils::openStandardStreams();
   Options options{ .board = {}, .socket = defaultSocket(), .control = {} };
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
   if ( options.board.empty() ) {
      fmt::print( stderr,
                  "lumen-smbusd: nothing to serve: name a board's folder with --emulate BOARD\n" );
      return kWrongUse;
   }
   try {
      serveBoard( options );
   } catch ( const std::exception& error ) {
      fmt::print( stderr, "lumen-smbusd: {}\n", Utils::printable( error.what() ) );
      return kFailed;
   }
   return 0;
}
