#include "Host/Session/Service.h"

#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "Platform/Frame.h"
#include "Platform/ServicePath.h"
#include "smbus.pb.h"

namespace Host {

namespace {

namespace Frame = PlatformLibrary::Frame;

constexpr char kEmptyBatch[ Frame::kHeaderSize ]{};  // nothing behind the header
constexpr size_t kLongestAnswer = 4096;              // to it

std::string whyNothingCame( ssize_t count ) {
   if ( count == 0 ) {
      return "it closes the connection";
   }
   if ( count > 0 ) {
      return "its answer breaks off";
   }
   return errno == EAGAIN ? "it is silent" : strerror( errno );
}

// What is wrong with the answer to an empty batch, if anything.
std::string whyNoAnswer( int socket ) {
   if ( send( socket, kEmptyBatch, sizeof kEmptyBatch, MSG_NOSIGNAL ) < 0 ) {
      return strerror( errno );
   }
   char header[ Frame::kHeaderSize ];
   ssize_t count = recv( socket, header, sizeof header, MSG_WAITALL );
   if ( count != sizeof header ) {
      return whyNothingCame( count );
   }
   std::string payload( std::min< size_t >( Frame::payloadLength( header ), kLongestAnswer ), 0 );
   // Waiting for no bytes at all would last until something comes.
   count = payload.empty() ? 0 : recv( socket, payload.data(), payload.size(), MSG_WAITALL );
   Smbus::TransactionResponse answer;
   if ( count != static_cast< ssize_t >( payload.size() ) || !answer.ParseFromString( payload ) ) {
      return "its answer is malformed";
   }
   return answer.failure() ? answer.error() : "";
}

}  // namespace

std::string servicePath( const std::string& given ) {
   return given.empty() ? PlatformLibrary::servicePath() : given;
}

bool serviceNeeded() {
   return !getenv( "SIMULATION_VMID" );
}

std::string whyNoService( const std::string& path, std::chrono::milliseconds patience ) {
   timeval limit{ .tv_sec = static_cast< time_t >( patience.count() / 1000 ),
                  .tv_usec = static_cast< suseconds_t >( patience.count() % 1000 * 1000 ) };
   sockaddr_un address{};
   address.sun_family = AF_UNIX;
   if ( path.size() >= sizeof address.sun_path ) {
      return strerror( ENAMETOOLONG );
   }
   path.copy( address.sun_path, path.size() );
   int socket = ::socket( AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0 );
   setsockopt( socket, SOL_SOCKET, SO_SNDTIMEO, &limit, sizeof limit );
   setsockopt( socket, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit );
   bool connects =
      connect( socket, reinterpret_cast< sockaddr* >( &address ), sizeof address ) == 0;
   std::string problem = connects ? whyNoAnswer( socket ) : strerror( errno );
   close( socket );
   return problem;
}

}  // namespace Host
