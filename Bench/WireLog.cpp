#include "SmbusService/WireLog.h"

#include <asio/post.hpp>
#include <cstdlib>
#include <memory>
#include <optional>
#include <stdexcept>
#include <thread>

#include "Bench/Boards.h"
#include "Bench/Measures.h"
#include "Bench/TemporaryBoard.h"
#include "Bench/Timing.h"
#include "Platform/ServicePath.h"
#include "PlatformLibrary/PLSocket.h"
#include "SmbusService/Emulator/BoardLoader.h"
#include "SmbusService/Server.h"
#include "Topology/HamAddress.h"

namespace Bench {

namespace {

constexpr uint32_t kDid = 8'000'000;  // no other measurement's

// A service of this process, with one client.
class Service {
 public:
   explicit Service( bool isLogged )
       : board_( topologyOf( 1, kDid ), { kDid } ),
         chips_( SmbusService::Emulator::loadBoard( board_.path() ) ) {
      std::string path = board_.path() + "/socket";
      if ( isLogged ) {
         log_.appendTo( board_.path() + "/log", messages_ );
         chips_->keepLog( log_ );
      }
      server_.emplace( context_, *chips_, SmbusService::Server::Door{ .path = path }, messages_ );
      thread_ = std::thread( [ this ] { context_.run(); } );
      setenv( PlatformLibrary::kServicePathVariable, path.c_str(), 1 );
      client_.setup();
      Smbus::Request& request = *batch_.add_request();
      request.set_address( HamAddress{ .address = kFirstAddress, .addrSize = 1 }.word() );
      request.set_type( Smbus::REQUEST_READ );
      request.set_size( 2 );
      request.set_pci( 16 );
      request.set_mastertype( Smbus::MASTER_FB_DOM_FPGA );
   }

   ~Service() {
      asio::post( context_, [ this ] { server_.reset(); } );
      thread_.join();
   }

   void read() {
      Smbus::TransactionResponse* reply = nullptr;
      int result = client_.sendRequestWait( &batch_, &reply );
      std::unique_ptr< Smbus::TransactionResponse > owner( reply );
      if ( result < 0 || reply->failure() ) {
         throw std::runtime_error( "a reading failed" );
      }
   }

 private:
   TemporaryBoard board_;
   SmbusService::Log messages_{ 2 };
   SmbusService::WireLog log_;
   std::unique_ptr< SmbusService::Emulator::EmulatedBoard > chips_;
   asio::io_context context_;
   std::optional< SmbusService::Server > server_;
   std::thread thread_;
   PlatformLibrary::PLSocket client_;
   Smbus::TransactionRequest batch_;
};

}  // namespace

void measureWireLog( Report& report ) {
   OneProcessor pinned;
   Service logged( true );
   Service plain( false );
   auto [ with, without ] = compare(
      15, 5000, [ & ] { logged.read(); }, [ & ] { plain.read(); } );
   report.add(
      { "a transfer of the service, with its wire log", with, "without", without, "us", 1.05 } );
}

}  // namespace Bench
