#include <sys/socket.h>
#include <unistd.h>

#include <thread>

#include "BoardFiles/Documents.h"
#include "Fuzz/Boards.h"
#include "Fuzz/Support.h"
#include "Platform/AddressWord.h"
#include "Platform/Frame.h"
#include "SmbusService/Connection.h"
#include "SmbusService/Policy.h"
#include "SmbusService/WireLog.h"

using namespace SmbusService;

namespace {

constexpr char kRaw = 0;        // the first byte, where the others are sent as they are
constexpr size_t kRecord = 6;   // bytes of a request, where they are not
constexpr int kFirstFlag = 21;  // of the address word, behind the numbers

// A frame with requests to chips of the board.
std::string frameOf( std::string_view records ) {
   static const auto& chips = Fuzz::demo().chips;
   const BoardFiles::Wiring& wiring = Fuzz::demo().wiring;
   Smbus::TransactionRequest batch;
   for ( ; records.size() >= kRecord; records.remove_prefix( kRecord ) ) {
      auto byte = [ & ]( size_t index ) { return static_cast< uint8_t >( records[ index ] ); };
      const auto& device = wiring.devices.at( chips[ byte( 0 ) % chips.size() ].did );
      const auto& adapter = wiring.adapters[ wiring.busses[ device.bus ].adapter ];
      Smbus::Request& request = *batch.add_request();
      request.set_type( static_cast< Smbus::RequestType >( byte( 1 ) % 5 ) );
      request.set_reg( byte( 2 ) );
      request.set_size( byte( 3 ) );
      request.set_flag( byte( 1 ) & 0x80 );
      request.set_mastertype( adapter.master );
      request.set_pci( adapter.pci );
      request.set_address(
         PlatformLibrary::packedAddress( *device.address, adapter.bus, adapter.accelerator ) ^
         uint32_t{ byte( 5 ) } << kFirstFlag );
      if ( request.type() != Smbus::REQUEST_READ && request.type() != Smbus::REQUEST_BLOCK_READ ) {
         request.set_data( std::string( byte( 3 ), records[ 4 ] ) );
      }
   }
   std::string frame;
   PlatformLibrary::Frame::encode( batch, frame );
   return frame;
}

// Until the other end is closed.
void readAll( int socket ) {
   char bytes[ 4096 ];
   while ( read( socket, bytes, sizeof bytes ) > 0 ) {
   }
}

}  // namespace

// What a client sends to the demonstration board's service.
extern "C" int LLVMFuzzerTestOneInput( const uint8_t* data, size_t size ) {
   auto chips = Emulator::loadBoard( Fuzz::demo() );
   WireLog log;
   chips->keepLog( log );
   int ends[ 2 ];
   Fuzz::require( socketpair( AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends ) == 0 );
   std::string_view input( reinterpret_cast< const char* >( data ), size );
   bool isRaw = !input.empty() && input[ 0 ] == kRaw;
   std::string sent = isRaw ? std::string( input.substr( 1 ) ) : frameOf( input );
   Fuzz::require( write( ends[ 0 ], sent.data(), sent.size() ) ==
                  static_cast< ssize_t >( sent.size() ) );
   shutdown( ends[ 0 ], SHUT_WR );
   std::thread client( readAll, ends[ 0 ] );
   const Policy policy( rulesWithoutPolicy(), Fuzz::demo().wiring );
   Connection( Peer::at( ends[ 1 ] ), *chips, &policy ).serve();
   close( ends[ 1 ] );
   client.join();
   close( ends[ 0 ] );
   std::vector< BoardFiles::Finding > findings;
   for ( const BoardFiles::WireRecord& record : log.after( 0, kKeptTransfers ) ) {
      std::string line = wireRecordText( record );
      Fuzz::require( BoardFiles::readWireLine( "log", line, findings ).sound );
   }
   return 0;
}
