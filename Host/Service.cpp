#include "Host/Service.h"

#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>

namespace Host {

namespace {

constexpr const char* kUsualPath = "/run/lumen/smbus.sock";

constexpr timeval kPatience{ .tv_sec = 2, .tv_usec = 0 };
constexpr char kEmptyBatch[ 4 ]{};  // a frame's length, and nothing behind it

// A service that refuses the batch is alive as well.
bool answersBatch( int socket ) {
   if ( send( socket, kEmptyBatch, sizeof kEmptyBatch, MSG_NOSIGNAL ) < 0 ) {
      return false;
   }
   char byte;
   return recv( socket, &byte, 1, 0 ) >= 0 || errno == ECONNRESET;
}

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
   int socket = ::socket( AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0 );
   setsockopt( socket, SOL_SOCKET, SO_SNDTIMEO, &kPatience, sizeof kPatience );
   setsockopt( socket, SOL_SOCKET, SO_RCVTIMEO, &kPatience, sizeof kPatience );
   bool answers =
      connect( socket, reinterpret_cast< sockaddr* >( &address ), sizeof address ) == 0 &&
      answersBatch( socket );
   close( socket );
   return answers;
}

}  // namespace Host
