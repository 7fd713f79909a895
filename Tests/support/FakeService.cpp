#include "Tests/support/FakeService.h"

#include <fmt/format.h>

#include <cstdlib>

namespace Tests {

namespace {

// Tests send a megabyte, too.
std::string hex( const std::string& bytes ) {
   std::string text( 2 * bytes.size(), '\0' );
   char* digit = text.data();
   for ( unsigned char byte : bytes ) {
      *digit++ = "0123456789abcdef"[ byte >> 4 ];
      *digit++ = "0123456789abcdef"[ byte & 15 ];
   }
   return text;
}

std::string lineOf( const Smbus::Request& request ) {
   static constexpr const char* types[] = { "read", "write", "process-call", "block-read",
                                            "block-write" };
   return fmt::format( "{} {} reg {:02x} address {:08x}", types[ request.type() ], request.size(),
                       request.reg(), request.address() ) +
          ( request.has_data() ? " data " + hex( request.data() ) : "" ) +
          ( request.flag() ? " flag" : "" );
}

}  // namespace

FakeService::FakeService( std::vector< Script > scripts )
    : listener_( socket( AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0 ) ) {
   std::string path = directory_.path() / "socket";
   sockaddr_un address = addressOf( path );
   bind( listener_, reinterpret_cast< sockaddr* >( &address ), sizeof address );
   listen( listener_, 8 );
   setenv( "PL_SMBUS_SOCKET", path.c_str(), 1 );
   thread_ = std::thread( [ this, scripts ] { run( scripts ); } );
}

FakeService::~FakeService() {
   ending_ = true;
   shutdown( listener_, SHUT_RDWR );
   shutdown( client_, SHUT_RDWR );
   finish();
   close( listener_ );
}

void FakeService::finish() {
   if ( thread_.joinable() ) {
      thread_.join();
   }
}

void FakeService::run( const std::vector< Script >& scripts ) {
   for ( const Script& script : scripts ) {
      int client = accept4( listener_, nullptr, nullptr, SOCK_CLOEXEC );
      if ( client < 0 ) {
         return;
      }
      client_ = client;
      if ( !ending_ ) {
         script( *this, client );
      }
      client_ = -1;
      close( client );
   }
}

void FakeService::serve( int socket ) {
   while ( serveOne( socket ) ) {
   }
}

bool FakeService::serveOne( int socket ) {
   std::string payload;
   if ( !receivePayload( socket, payload ) ) {
      return false;
   }
   batch.ParseFromString( payload );
   requests.clear();
   Smbus::TransactionResponse reply;
   for ( const Smbus::Request& request : batch.request() ) {
      requests.push_back( lineOf( request ) );
      Smbus::Response* response = reply.add_response();
      if ( request.type() != Smbus::REQUEST_WRITE ) {
         response->set_data( answers( request ) );
      }
   }
   if ( spoil ) {
      spoil( reply );
   }
   return sendBytes( socket, frameOf( reply ) );
}

}  // namespace Tests
