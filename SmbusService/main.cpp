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
#include "SmbusService/PolicyReport.h"
#include "SmbusService/PolicyStore.h"
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
   std::string policy;
   std::string group;
   PolicyQuestion question;

   const std::string& directory() const { return board.empty() ? emulated : board; }
};

// A hangup that nobody handles would end the process: at its start, and while it writes its last
// lines.
void hearHangups( bool isWanted ) {
   sigset_t hangup;
   sigemptyset( &hangup );
   sigaddset( &hangup, SIGHUP );
   pthread_sigmask( isWanted ? SIG_UNBLOCK : SIG_BLOCK, &hangup, nullptr );
}

// What is served, and what a hangup does.
struct Served {
   Backend& backend;
   const Access& access;
   const Controlled controlled;
   const std::function< void() > reload;
};

void write( Log& log, const std::vector< BoardFiles::Finding >& findings ) {
   for ( const std::string& line : BoardFiles::linesOf( findings ) ) {
      log.write( line );
   }
}

// What cannot be read whole changes nothing.
void tryReload( const Served& served, Log& log ) {
   try {
      served.reload();
      log.write( "reloaded" );
   } catch ( const BoardFiles::BoardError& error ) {
      log.write( "nothing is reloaded:" );
      write( log, error.findings );
   } catch ( const std::exception& error ) {
      log.write( fmt::format( "nothing is reloaded: {}", error.what() ) );
   }
}

// Serves until a signal ends the process.
void serve( const Options& options, const Served& served, Log& log ) {
   asio::io_context context( 1 );
   std::optional< ControlSocket > control;
   if ( !options.control.empty() ) {
      auto answer = [ & ]( std::string_view line ) {
         return answerControl( served.controlled, line );
      };
      control.emplace( answer, options.control );
   }
   asio::signal_set ends( context, SIGTERM, SIGINT );
   asio::signal_set hangups( context, SIGHUP );
   Server::Door door{ .path = options.socket, .access = &served.access };
   if ( !options.group.empty() ) {
      door.group = groupOf( options.group );
   }
   Server server( context, served.backend, door, log );
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
         tryReload( served, log );
         readiness.ready( announcement );
         hangups.async_wait( onHangup );
      }
   };
   hangups.async_wait( onHangup );
   hearHangups( true );
   Log announcements( STDOUT_FILENO );
   announcements.write( announcement );
   readiness.ready( announcement );
   context.run();
   hearHangups( false );
}

void keepLog( const Options& options, Backend& backend, WireLog& wireLog, Log& log ) {
   if ( !options.wireLog.empty() ) {
      wireLog.appendTo( options.wireLog, log );
   }
   backend.keepLog( wireLog );
}

void serveEmulated( const Options& options, Log& log ) {
   WireLog wireLog;
   auto documents =
      BoardFiles::loadBoard( options.emulated, { .emulation = BoardFiles::Demand::Needed } );
   auto board = Emulator::loadBoard( documents );
   PolicyStore policy( options.policy, documents.wiring, log );
   std::unique_ptr< Replay > replay;
   if ( !options.replay.empty() ) {
      std::vector< BoardFiles::Finding > findings;
      replay =
         std::make_unique< Replay >( *board, BoardFiles::readWireLog( options.replay, findings ) );
      complain( findings );
   }
   Backend& backend = replay ? static_cast< Backend& >( *replay ) : *board;
   keepLog( options, backend, wireLog, log );
   auto reload = [ & ] { policy.use( policy.read() ); };
   serve( options, { backend, policy, { wireLog, board.get() }, reload }, log );
}

BoardFiles::Board loadKernelBoard( const std::string& directory ) {
   return BoardFiles::loadBoard( directory, { .adapters = BoardFiles::Demand::Needed } );
}

// A wiring that changed would not be the one that clients have.
void reload( LinuxI2c::KernelBackend& backend,
             PolicyStore& policy,
             const BoardFiles::Board& before,
             Log& log ) {
   BoardFiles::Board board = loadKernelBoard( before.directory );
   if ( board.topology != before.topology || board.objectsText != before.objectsText ) {
      throw std::runtime_error( "topology.json or objects.json has changed: restart the service" );
   }
   write( log, board.warnings );
   auto rules = policy.read();
   backend.check( board );
   backend.assign( board );
   policy.use( rules );
}

void serveKernel( const Options& options, Log& log ) {
   BoardFiles::Board board = loadKernelBoard( options.board );
   WireLog wireLog;
   LinuxI2c::System system;
   LinuxI2c::KernelBackend backend( system );
   keepLog( options, backend, wireLog, log );
   PolicyStore policy( options.policy, board.wiring, log );
   backend.check( board );
   backend.assign( board );
   complain( board.warnings );
   backend.closeMuxes( board.wiring, log );
   auto onHangup = [ & ] { reload( backend, policy, board, log ); };
   serve( options, { backend, policy, { wireLog }, onHangup }, log );
}

// Prints what the policy lets somebody do, or only that it can be used.
void checkPolicy( const Options& options ) {
   auto documents = BoardFiles::loadBoard( options.directory(), {} );
   Policy policy( rulesOf( options.policy, documents.wiring ), documents.wiring );
   bool isAsked = options.question.user || !options.question.groups.empty();
   fmt::print( "{}", isAsked ? reportOn( policy, documents.wiring, options.question )
                             : "the policy has no mistakes\n" );
}

}  // namespace

int main( int argc, char** argv ) {
   Utils::openStandardStreams();
   signal( SIGPIPE, SIG_IGN );
   hearHangups( false );
   Options options;
   options.socket = PlatformLibrary::servicePath();
   CLI::App app( "SMBus service: executes batches of SMBus transfers for its clients." );
   // An empty text, such as that of a variable that is not set, asks for nothing that could be
   // meant.
   CLI::Validator filled( []( const std::string& text ) { return text.empty() ? "is empty" : ""; },
                          "" );
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
      ->type_name( "PATH" )
      ->check( filled );
   app.add_option( "--wire-log", options.wireLog, "append every transfer to this file" )
      ->type_name( "FILE" )
      ->check( filled );
   app.add_option( "--replay", options.replay, "answer reads as this wire log recorded them" )
      ->type_name( "FILE" )
      ->check( filled )
      ->needs( emulated );
   app.add_option( "--policy", options.policy, "who may do what; SIGHUP reads it again" )
      ->type_name( "FILE" )
      ->check( filled );
   app.add_option( "--group", options.group, "the socket's group, whose members may connect" )
      ->type_name( "NAME" );
   auto* check = app.add_subcommand( "check-policy", "tell what a policy lets somebody do" );
   check->fallthrough();
   check->add_option( "--user", options.question.user, "name or uid" )->type_name( "NAME" );
   check->add_option( "--groups", options.question.groups, "names or gids, beside the user's own" )
      ->type_name( "NAME,..." )
      ->delimiter( ',' )
      ->allow_extra_args( false );
   check->add_option( "DEVICE", options.question.device, "label or device id; all without it" );
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
      if ( *check ) {
         checkPolicy( options );
      } else if ( options.board.empty() ) {
         serveEmulated( options, log );
      } else {
         serveKernel( options, log );
      }
   } catch ( const BoardFiles::BoardError& error ) {
      complain( error.findings );
      return kFailed;
   } catch ( const std::exception& error ) {
      log.write( error.what() );
      return kFailed;
   }
   return 0;
}
