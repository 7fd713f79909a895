#include "SmbusService/Serve.h"

#include <fmt/format.h>
#include <signal.h>
#include <unistd.h>

#include <asio/post.hpp>
#include <asio/signal_set.hpp>
#include <cstdio>
#include <functional>
#include <optional>
#include <stdexcept>
#include <system_error>
#include <thread>

#include "BoardFiles/Accounts.h"
#include "SmbusService/Control.h"
#include "SmbusService/ControlSocket.h"
#include "SmbusService/Emulator/BoardLoader.h"
#include "SmbusService/LastResort.h"
#include "SmbusService/LinuxI2c/KernelBackend.h"
#include "SmbusService/PolicyStore.h"
#include "SmbusService/Readiness.h"
#include "SmbusService/Replay.h"
#include "SmbusService/Server.h"
#include "SmbusService/WireLog.h"

namespace SmbusService {

namespace {

void hearHangups( bool isWanted ) {
   sigset_t hangup;
   sigemptyset( &hangup );
   sigaddset( &hangup, SIGHUP );
   pthread_sigmask( isWanted ? SIG_UNBLOCK : SIG_BLOCK, &hangup, nullptr );
}

// What the process has from its start to its end.
struct Process {
   const Options& options;
   Log& log;
   WireLog& wireLog;
   LastResort& lastResort;
};

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

// Reads anew what may change, on a thread of its own: files, and adapters that are in use, are not
// worth that anybody waits for them.
class Reloader {
 public:
   Reloader( asio::io_context& context, const Served& served, Log& log )
       : context_( context ), served_( served ), log_( log ) {}

   // Calls `onEnd` on the context. Not before the last call's.
   void start( std::function< void() > onEnd ) {
      try {
         thread_ = std::jthread( [ this, onEnd ] {
            tryReload( served_, log_ );
            asio::post( context_, onEnd );
         } );
      } catch ( const std::system_error& error ) {
         log_.write( fmt::format( "nothing is reloaded: {}", error.what() ) );
         onEnd();
      }
   }

 private:
   asio::io_context& context_;
   const Served& served_;
   Log& log_;
   std::jthread thread_;
};

// Serves until a signal ends the process.
void serveUntilSignal( const Process& process, const Served& served ) {
   const Options& options = process.options;
   asio::io_context context( 1 );
   asio::signal_set ends( context, SIGTERM, SIGINT );
   asio::signal_set hangups( context, SIGHUP );
   std::optional< ControlSocket > control;
   if ( !options.control.empty() ) {
      auto answer = [ & ]( std::string_view line ) {
         return answerControl( served.controlled, line );
      };
      control.emplace( answer, options.control );
   }
   Server::Door door{ .path = options.socket, .access = &served.access };
   if ( !options.group.empty() ) {
      door.group = BoardFiles::groupOf( options.group );
   }
   Server server( context, served.backend, door, process.log );
   Readiness readiness( context );
   Reloader reloader( context, served, process.log );
   std::string announcement =
      fmt::format( "serving {} at {}", options.directory(), options.socket );
   bool isEnding = false;  // a hangup that is due already cannot be cancelled
   ends.async_wait( [ & ]( asio::error_code, int ) {
      isEnding = true;
      process.lastResort.arm();
      if ( control ) {
         control->removeFile();
      }
      readiness.stopping();
      hangups.cancel();
      server.stop();
   } );
   std::function< void( asio::error_code, int ) > onHangup = [ & ]( asio::error_code error, int ) {
      if ( error || isEnding ) {
         return;
      }
      readiness.reloading();
      reloader.start( [ & ] {
         if ( !isEnding ) {
            readiness.ready( announcement );
            hangups.async_wait( onHangup );
         }
      } );
   };
   hangups.async_wait( onHangup );
   hearHangups( true );
   Log announcements( STDOUT_FILENO );
   announcements.write( announcement );
   readiness.ready( announcement );
   context.run();
   hearHangups( false );
}

void keepLog( const Process& process, Backend& backend ) {
   if ( !process.options.wireLog.empty() ) {
      process.wireLog.appendTo( process.options.wireLog, process.log );
   }
   backend.keepLog( process.wireLog );
}

void serveEmulated( const Process& process ) {
   const Options& options = process.options;
   auto documents =
      BoardFiles::loadBoard( options.emulated, { .emulation = BoardFiles::Demand::Needed } );
   auto board = Emulator::loadBoard( documents );
   PolicyStore policy( options.policy, documents.wiring, process.log );
   std::unique_ptr< Replay > replay;
   if ( !options.replay.empty() ) {
      std::vector< BoardFiles::Finding > findings;
      auto records = BoardFiles::readWireLog( options.replay, findings );
      complain( findings );
      if ( records.empty() && !findings.empty() ) {
         throw std::runtime_error( options.replay + ": there is nothing to replay" );
      }
      replay = std::make_unique< Replay >( *board, records );
   }
   Backend& backend = replay ? static_cast< Backend& >( *replay ) : *board;
   keepLog( process, backend );
   auto reload = [ & ] { policy.use( policy.read() ); };
   serveUntilSignal( process, { backend, policy, { process.wireLog, board.get() }, reload } );
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

void serveKernel( const Process& process ) {
   const Options& options = process.options;
   Log& log = process.log;
   BoardFiles::Board board = loadKernelBoard( options.board );
   LinuxI2c::System system;
   LinuxI2c::KernelBackend backend( system );
   keepLog( process, backend );
   PolicyStore policy( options.policy, board.wiring, log );
   backend.check( board );
   backend.assign( board );
   complain( board.warnings );
   backend.closeMuxes( board.wiring, log );
   auto onHangup = [ & ] { reload( backend, policy, board, log ); };
   serveUntilSignal( process, { backend, policy, { process.wireLog }, onHangup } );
}

}  // namespace

void holdHangups() {
   hearHangups( false );
}

void serve( const Options& options, Log& log ) {
   WireLog wireLog;
   LastResort lastResort( wireLog, log );
   Process process{ options, log, wireLog, lastResort };
   options.board.empty() ? serveEmulated( process ) : serveKernel( process );
   wireLog.finish();
}

void complain( const std::vector< BoardFiles::Finding >& findings ) {
   for ( const std::string& line : BoardFiles::linesOf( findings ) ) {
      fprintf( stderr, "lumen-smbusd: %s\n", line.c_str() );
   }
}

}  // namespace SmbusService
