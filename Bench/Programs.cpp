#include <fcntl.h>
#include <fmt/format.h>
#include <poll.h>
#include <pty.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <numeric>
#include <stdexcept>

#include "Bench/Boards.h"
#include "Bench/Measures.h"
#include "Bench/TemporaryBoard.h"
#include "Bench/Timing.h"
#include "PlatformLibrary/PLSocket.h"
#include "SmbusService/EmbeddedService.h"
#include "Topology/HamAddress.h"
#include "smbus.pb.h"

namespace Bench {

namespace {

constexpr unsigned kMany = 1000;  // objects
constexpr unsigned kFew = 100;
constexpr int kRounds = 5;
constexpr int kShortWatch = 3;  // seconds
constexpr int kLongWatch = 13;

TemporaryBoard boardOf( unsigned objects ) {
   std::vector< uint32_t > chips( objects );
   std::iota( chips.begin(), chips.end(), 1 );
   return TemporaryBoard( topologyOf( objects, 1 ), chips, objectsOf( objects, 1 ) );
}

std::string program() {
   return std::filesystem::read_symlink( "/proc/self/exe" ).parent_path() / "lumen";
}

[[noreturn]] void runLumen( const TemporaryBoard& board,
                            const std::string& socket,
                            const char* command ) {
   std::string path = program();
   execl( path.c_str(), "lumen", "--board", board.path().c_str(), "--socket", socket.c_str(),
          command, nullptr );
   _exit( 127 );
}

double statusTime( const TemporaryBoard& board, const std::string& socket ) {
   auto start = Clock::now();
   pid_t child = fork();
   if ( child == 0 ) {
      int nowhere = open( "/dev/null", O_WRONLY );
      dup2( nowhere, STDOUT_FILENO );
      runLumen( board, socket, "status" );
   }
   int status = 0;
   waitpid( child, &status, 0 );
   if ( !WIFEXITED( status ) || WEXITSTATUS( status ) != 0 ) {
      throw std::runtime_error( "lumen status failed" );
   }
   return microseconds( Clock::now() - start ) / 1000;
}

// A reading of each device by a client that does no more.
double bareTime( unsigned devices, const std::string& socket ) {
   setenv( "PL_SMBUS_SOCKET", socket.c_str(), 1 );
   PlatformLibrary::PLSocket client;
   client.setup();
   auto start = Clock::now();
   for ( unsigned i = 0; i < devices; ++i ) {
      Smbus::TransactionRequest batch;
      Smbus::Request* request = batch.add_request();
      request->set_address(
         HamAddress{ .address = static_cast< uint8_t >( kFirstAddress + i % kDevicesPerBus ),
                     .bus = i / kDevicesPerBus,
                     .addrSize = 1 }
            .word() );
      request->set_type( Smbus::REQUEST_READ );
      request->set_size( 2 );
      request->set_pci( 16 );
      request->set_mastertype( Smbus::MASTER_FB_DOM_FPGA );
      Smbus::TransactionResponse* reply = nullptr;
      int result = client.sendRequestWait( &batch, &reply );
      std::unique_ptr< Smbus::TransactionResponse > owner( reply );
      if ( result < 0 || reply->failure() ) {
         throw std::runtime_error( "a reading failed" );
      }
   }
   return microseconds( Clock::now() - start ) / 1000;
}

// Milliseconds of processor time of a watch on a terminal, with its workers.
double watchTime( const TemporaryBoard& board, const std::string& socket, int seconds ) {
   winsize size{ .ws_row = 24, .ws_col = 80, .ws_xpixel = 0, .ws_ypixel = 0 };
   int terminal = -1;
   pid_t child = forkpty( &terminal, nullptr, nullptr, &size );
   if ( child == 0 ) {
      setenv( "TERM", "xterm", 1 );
      runLumen( board, socket, "watch" );
   }
   auto end = Clock::now() + std::chrono::seconds( seconds );
   for ( auto left = end - Clock::now(); left.count() > 0; left = end - Clock::now() ) {
      pollfd screen{ terminal, POLLIN, 0 };
      poll( &screen, 1,
            static_cast< int >( std::chrono::ceil< std::chrono::milliseconds >( left ).count() ) );
      char buffer[ 4096 ];
      if ( screen.revents && read( terminal, buffer, sizeof buffer ) <= 0 ) {
         break;
      }
   }
   kill( child, SIGTERM );
   rusage use{};
   int status = 0;
   wait4( child, &status, 0, &use );
   close( terminal );
   auto milliseconds = []( const timeval& time ) {
      return static_cast< double >( time.tv_sec ) * 1000 +
             static_cast< double >( time.tv_usec ) / 1000;
   };
   return milliseconds( use.ru_utime ) + milliseconds( use.ru_stime );
}

}  // namespace

void measurePrograms( Report& report ) {
   {
      TemporaryBoard board = boardOf( kMany );
      SmbusService::EmbeddedService service( board.path() );
      double status = 1e18;
      double bare = 1e18;
      for ( int i = 0; i < kRounds; ++i ) {
         status = std::min( status, statusTime( board, service.path() ) );
         bare = std::min( bare, bareTime( kMany, service.path() ) );
      }
      report.add( { "lumen status of 1,000 objects", status, "1,000 bare reads", bare, "ms", 3 } );
   }
   TemporaryBoard board = boardOf( kFew );
   SmbusService::EmbeddedService service( board.path() );
   double time = watchTime( board, service.path(), kLongWatch ) -
                 watchTime( board, service.path(), kShortWatch );
   report.add( { "lumen watch of 100 objects, each second", time / ( kLongWatch - kShortWatch ),
                 "half a percent of a core", 5, "ms", 1 } );
}

}  // namespace Bench
