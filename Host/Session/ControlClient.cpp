#include "Host/Session/ControlClient.h"

#include <fmt/format.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <stdexcept>

#include "Host/Session/UseError.h"

namespace Host {

namespace {

constexpr timeval kPatience{ .tv_sec = 5, .tv_usec = 0 };
constexpr size_t kChunk = 65536;
constexpr size_t kLongestAnswer = 64 * 1024 * 1024;

[[noreturn]] void refuse( const std::string& path, const char* why ) {
   throw UseError( fmt::format(
      "no control socket at {}: {}; lumen-smbusd --control PATH opens one", path, why ) );
}

}  // namespace

ControlClient::ControlClient( const std::string& path )
    : socket_( socket( AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0 ) ) {
   sockaddr_un address{};
   address.sun_family = AF_UNIX;
   if ( path.size() >= sizeof address.sun_path ) {
      close( socket_ );
      refuse( path, "the path is too long" );
   }
   path.copy( address.sun_path, sizeof address.sun_path - 1 );
   setsockopt( socket_, SOL_SOCKET, SO_RCVTIMEO, &kPatience, sizeof kPatience );
   setsockopt( socket_, SOL_SOCKET, SO_SNDTIMEO, &kPatience, sizeof kPatience );
   if ( connect( socket_, reinterpret_cast< sockaddr* >( &address ), sizeof address ) < 0 ) {
      int error = errno;
      close( socket_ );
      refuse( path, strerror( error ) );
   }
}

ControlClient::~ControlClient() {
   close( socket_ );
}

std::string ControlClient::ask( const std::string& line ) {
   std::string request = line + '\n';
   if ( send( socket_, request.data(), request.size(), MSG_NOSIGNAL ) !=
        static_cast< ssize_t >( request.size() ) ) {
      throw std::runtime_error( "the service is lost" );
   }
   size_t end = input_.find( '\n' );
   while ( end == std::string::npos ) {
      char chunk[ kChunk ];
      ssize_t count = TEMP_FAILURE_RETRY( recv( socket_, chunk, sizeof chunk, 0 ) );
      if ( count <= 0 ) {
         throw std::runtime_error( count == 0 ? "the service is lost" : "the service is silent" );
      }
      if ( input_.size() > kLongestAnswer ) {
         throw std::runtime_error( "the service's answer has no end" );
      }
      size_t before = input_.size();
      input_.append( chunk, static_cast< size_t >( count ) );
      end = input_.find( '\n', before );
   }
   std::string answer = input_.substr( 0, end );
   input_.erase( 0, end + 1 );
   return answer;
}

}  // namespace Host
