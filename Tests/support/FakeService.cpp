#include "Tests/support/FakeService.h"

#include <fmt/format.h>
#include <signal.h>

#include <cstdlib>

namespace Tests {

namespace {

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
    : listener_( socketAt( directory_.path() / "socket", bind ) ) {
   listen( listener_, 8 );
   setenv( "PL_SMBUS_SOCKET", ( directory_.path() / "socket" ).c_str(), 1 );
   thread_ = std::thread( [ this, scripts ] { run( scripts ); } );
}

FakeService::~FakeService() {
   ending_ = true;
   shutdown( listener_, SHUT_RDWR );
   shutdown( client_, SHUT_RDWR );
   thread_.join();
   close( listener_ );
}

void FakeService::run( const std::vector< Script >& scripts ) {
   sigset_t signals;  // are the client's to handle
   sigfillset( &signals );
   pthread_sigmask( SIG_BLOCK, &signals, nullptr );
   for ( const Script& script : scripts ) {
      int client = client_ = accept4( listener_, nullptr, nullptr, SOCK_CLOEXEC );
      if ( client >= 0 && !ending_ ) {
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
