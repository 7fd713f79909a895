#include <sys/socket.h>
#include <unistd.h>

#include "Fuzz/HostObject.h"
#include "Fuzz/Support.h"
#include "Ham/ServiceSocket.h"
#include "Platform/Frame.h"
#include "PlatformLibrary/PLSocket.h"
#include "Tests/support/TemporaryDirectory.h"
#include "Tests/support/Wire.h"
#include "pl.h"
#include "pl_host.h"

namespace {

constexpr const char* kTopology =
   R"([{"type":"I2C","ham":"LumenSmbus","id":0,"devices":[{"did":1}]}])";
constexpr const char* kEndpoint =
   R"(m{"did":1,"driver":"SmbusProxyDriver","address":{"address":80}})";
constexpr uint8_t kRaw = 0;  // the first byte, where the others are not put into frames

std::string framed( const std::string& payload ) {
   std::string frame( PlatformLibrary::Frame::kHeaderSize, '\0' );
   frame[ 2 ] = static_cast< char >( payload.size() >> 8 );
   frame[ 3 ] = static_cast< char >( payload.size() );
   return frame + payload;
}

// Connects the library to a service that is gone once it has sent these bytes.
int serveOnce( const std::string& bytes ) {
   static const Tests::TemporaryDirectory directory;
   const std::string path = directory.path() / "socket";
   setenv( "PL_SMBUS_SOCKET", path.c_str(), 1 );
   int listener = Tests::socketAt( path, bind );
   listen( listener, 1 );
   delete _plSock;
   _plSock = nullptr;
   Fuzz::require( pl_smbus_init( kTopology ) == PL_STATUS_OK );
   int client = accept( listener, nullptr, nullptr );
   close( listener );
   unlink( path.c_str() );
   Tests::sendBytes( client, bytes );
   shutdown( client, SHUT_WR );
   return client;
}

}  // namespace

// What a service sends, before it is asked.
extern "C" int LLVMFuzzerTestOneInput( const uint8_t* data, size_t size ) {
   pl_trace_level_set( -1 );
   bool isRaw = size && data[ 0 ] == kRaw;
   std::string sent;
   for ( const std::string& part : Fuzz::partsOf( data, size, isRaw ? 1 : 16 ) ) {
      sent += isRaw ? part.substr( 1 ) : framed( part );
   }
   Fuzz::forgetDevices();
   int client = serveOnce( sent );
   Fuzz::addObject( kEndpoint ).value()( "\x01\x01" );
   close( client );
   return 0;
}
