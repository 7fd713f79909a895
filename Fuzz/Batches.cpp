#include <sys/socket.h>
#include <unistd.h>

#include <thread>

#include "BoardFiles/Documents.h"
#include "Fuzz/Boards.h"
#include "Fuzz/Support.h"
#include "SmbusService/Connection.h"
#include "SmbusService/Policy.h"
#include "SmbusService/WireLog.h"

using namespace SmbusService;

namespace {

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
   Fuzz::require( write( ends[ 0 ], data, size ) == static_cast< ssize_t >( size ) );
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
