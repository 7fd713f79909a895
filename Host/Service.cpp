#include "Host/Service.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>

namespace Host {

namespace {

constexpr const char* kUsualPath = "/run/lumen/smbus.sock";

}  // namespace

std::string servicePath( const std::string& given ) {
   if ( !given.empty() ) {
      return given;
   }
   const char* path = getenv( "PL_SMBUS_SOCKET" );
   return path && *path ? path : kUsualPath;
}

bool serviceNeeded() {
   return !getenv( "SIMULATION_VMID" );
}

bool serviceAnswers( const std::string& path ) {
   sockaddr_un address{};
   address.sun_family = AF_UNIX;
   if ( path.size() >= sizeof address.sun_path ) {
      return false;
   }
   path.copy( address.sun_path, path.size() );
   int socket = ::socket( AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0 );
   int result = connect( socket, reinterpret_cast< sockaddr* >( &address ), sizeof address );
   bool busy = result < 0 && errno == EAGAIN;  // others wait to be accepted
   close( socket );
   return result == 0 || busy;
}

}  // namespace Host
