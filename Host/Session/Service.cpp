#include "Host/Session/Service.h"

#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "Platform/ServicePath.h"

namespace Host {

namespace {

constexpr timeval kPatience{ .tv_sec = 2, .tv_usec = 0 };
constexpr char kEmptyBatch[ 4 ]{};  // a frame's length, and nothing behind it

// What is wrong with the answer to an empty batch, if anything.
std::string whyNoAnswer( int socket ) {
   char byte;
   if ( send( socket, kEmptyBatch, sizeof kEmptyBatch, MSG_NOSIGNAL ) < 0 ) {
      return strerror( errno );
   }
   ssize_t count = recv( socket, &byte, 1, 0 );
   if ( count == 0 ) {
      return "it closes the connection, as a service with too many clients does";
   }
   if ( count < 0 ) {
      return errno == EAGAIN ? "it is silent" : strerror( errno );
   }
   return "";
}

}  // namespace

std::string servicePath( const std::string& given ) {
   return given.empty() ? PlatformLibrary::servicePath() : given;
}

bool serviceNeeded() {
   return !getenv( "SIMULATION_VMID" );
}

std::string whyNoService( const std::string& path ) {
   sockaddr_un address{};
   address.sun_family = AF_UNIX;
   if ( path.size() >= sizeof address.sun_path ) {
      return strerror( ENAMETOOLONG );
   }
   path.copy( address.sun_path, path.size() );
   int socket = ::socket( AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0 );
   setsockopt( socket, SOL_SOCKET, SO_SNDTIMEO, &kPatience, sizeof kPatience );
   setsockopt( socket, SOL_SOCKET, SO_RCVTIMEO, &kPatience, sizeof kPatience );
   bool connects =
      connect( socket, reinterpret_cast< sockaddr* >( &address ), sizeof address ) == 0;
   std::string problem = connects ? whyNoAnswer( socket ) : strerror( errno );
   close( socket );
   return problem;
}

}  // namespace Host
