#include "PlatformLibrary/PLSocket.h"

#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "Platform/Frame.h"
#include "Platform/ServiceFailure.h"
#include "Platform/ServicePath.h"
#include "Platform/WireSink.h"
#include "pl.h"
#include "pl_host.h"
#include "smbus.pb.h"

namespace PlatformLibrary {

namespace {

constexpr int kDefaultTimeoutMs = 5000;
constexpr size_t kMaxBlock = 255;  // bytes; a caller's buffer has room for as many
constexpr const char* kMalformed = "the answer is malformed";
constexpr size_t kReceiveSize = 4096;  // most replies fit, so that one call receives them whole

int64_t monotonicNow() {
   return std::chrono::steady_clock::now().time_since_epoch() / std::chrono::nanoseconds( 1 );
}

uint32_t timeoutFromEnvironment() {
   const char* text = getenv( "PL_SMBUS_TIMEOUT_MS" );
   int value = text ? atoi( text ) : 0;
   return static_cast< uint32_t >( value > 0 ? value : kDefaultTimeoutMs );
}

int fail( int error ) {
   errno = error;
   return -1;
}

bool isTransient( int error ) {
   return error == EINTR || error == EAGAIN;
}

// Whoever calls setup() may try for long, and tell of it at the end only.
void tellOnceWhyNot( int error ) {
   static bool isTold = false;
   if ( !isTold ) {
      isTold = true;
      pl_trace( 0, "SMBus service: cannot connect to %s: %s; further attempts are not told",
                servicePath(), strerror( error ) );
      errno = error;
   }
}

// Those that have connected.
std::vector< PLSocket* >& sockets() {
   static auto& list = *new std::vector< PLSocket* >;
   return list;
}

}  // namespace

PLSocket::~PLSocket() {
   std::erase( sockets(), this );
   cleanup();
}

int PLSocket::setup() {
   reconnects_ = 0;
   reconnect_ = !getenv( "SIMULATION_VMID" );
   if ( !reconnect_ ) {
      return 0;
   }
   int result = noted( connectToService() );
   if ( result < 0 ) {
      tellOnceWhyNot( errno );
   }
   return result;
}

void PLSocket::disconnectAll() {
   for ( PLSocket* socket : sockets() ) {
      socket->cleanup();
   }
}

void PLSocket::cleanup() {
   if ( fd_ >= 0 ) {
      close( fd_ );
   }
   fd_ = -1;
   exchanges_ = 0;
   pending_.clear();
}

int PLSocket::connectToService() {
   // The connection stays the parent's: what a child leaves on it would be the parent's next
   // answer.
   [[maybe_unused]] static int atFork = pthread_atfork( nullptr, nullptr, disconnectAll );
   std::erase( sockets(), this );
   sockets().push_back( this );
   cleanup();
   const char* path = servicePath();
   sockaddr_un address{};
   address.sun_family = AF_UNIX;
   if ( strlen( path ) >= sizeof address.sun_path ) {
      return fail( ENAMETOOLONG );
   }
   strcpy( address.sun_path, path );

   timeoutMs_ = timeoutFromEnvironment();
   fd_ = socket( AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0 );
   if ( fd_ < 0 ) {
      return -1;
   }
   // The kernel's own time limits keep an exchange at one call each way.
   timeval limit{ .tv_sec = static_cast< time_t >( timeoutMs_ / 1000 ),
                  .tv_usec = static_cast< suseconds_t >( timeoutMs_ % 1000 * 1000 ) };
   setsockopt( fd_, SOL_SOCKET, SO_SNDTIMEO, &limit, sizeof limit );
   setsockopt( fd_, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit );
   int result = TEMP_FAILURE_RETRY(
      connect( fd_, reinterpret_cast< sockaddr* >( &address ), sizeof address ) );
   if ( result < 0 ) {
      int error = errno == EAGAIN ? ETIMEDOUT : errno;
      cleanup();
      return fail( error );
   }
   return 0;
}

int PLSocket::sendRequestWait( const Smbus::TransactionRequest* request,
                               Smbus::TransactionResponse** reply ) {
   int64_t start = isWireWatched() ? monotonicNow() : 0;
   int result = noted( exchange( *request, reply ) );
   // What such an answer means is the caller's to say.
   if ( result == 0 &&
        ( ( *reply )->failure() || ( *reply )->response_size() != request->request_size() ) ) {
      noteAnswer( **reply, request->request_size() );
   }
   if ( isWireWatched() ) {
      int error = errno;
      tellWire( *request, result == 0 ? *reply : nullptr, monotonicNow() - start );
      errno = error;
   }
   return result;
}

int PLSocket::exchange( const Smbus::TransactionRequest& request,
                        Smbus::TransactionResponse** reply ) {
   bool isNew = fd_ < 0;
   if ( isNew && reconnect() < 0 ) {
      return -1;
   }
   Smbus::TransactionRequest addition;
   addition.set_id( ++id_ );
   if ( !Frame::encode( request, addition, request_ ) ) {
      return fail( EMSGSIZE );
   }
   pending_.push_back( monotonicNow() + int64_t{ timeoutMs_ } * 1'000'000 );
   auto answer = std::make_unique< Smbus::TransactionResponse >();
   if ( deliver( isNew ) < 0 || receiveFrame() < 0 || takeAnswer( request, *answer ) < 0 ) {
      int error = errno;
      cleanup();
      return fail( error );
   }
   pending_.pop_back();
   ++exchanges_;
   *reply = answer.release();
   return 0;
}

int PLSocket::reconnect() {
   if ( !reconnect_ ) {
      return fail( ENOTCONN );
   }
   if ( connectToService() < 0 ) {
      return -1;
   }
   ++reconnects_;
   return 0;
}

// A service that has closed the connection before has not taken the request, or not whole.
int PLSocket::deliver( bool isNewConnection ) {
   int result = sendFrame();
   if ( result == 0 || errno != EPIPE || isNewConnection ) {
      return result;
   }
   int64_t due = pending_.back();
   if ( reconnect() < 0 ) {
      return fail( EPIPE );
   }
   pending_.push_back( due );
   return sendFrame();
}

int PLSocket::takeAnswer( const Smbus::TransactionRequest& request,
                          Smbus::TransactionResponse& answer ) {
   if ( !answer.ParseFromArray( buffer_.data() + lengthWanted_, static_cast< int >( payload_ ) ) ) {
      return broken( kMalformed );
   }
   if ( answer.has_id() && answer.id() != id_ ) {
      return broken( "the answer is another request's" );
   }
   int count = std::min( request.request_size(), answer.response_size() );
   for ( int i = 0; i < count; ++i ) {
      if ( request.request( i ).type() == Smbus::REQUEST_BLOCK_READ &&
           answer.response( i ).data().size() > kMaxBlock ) {
         return broken( "the answer to a block read is longer than 255 bytes" );
      }
   }
   return 0;
}

int PLSocket::broken( const char* problem ) {
   problem_ = problem;
   return fail( EPROTO );
}

int PLSocket::noted( int result ) const {
   if ( result < 0 ) {
      int error = errno;
      noteNoAnswer( error, reasonFor( error ) );
      errno = error;
   }
   return result;
}

std::string PLSocket::reasonFor( int error ) const {
   switch ( error ) {
      case ETIMEDOUT:
         return "no answer within " + std::to_string( timeoutMs_ ) + " ms";
      case EPIPE:
      case ECONNRESET:
         return "the connection broke";
      case EPROTO:
         return problem_;
      default:
         return strerror( error );
   }
}

// The first call blocks for as long as the socket's time limit allows; later ones only move what
// waitFor() has announced.
int PLSocket::sendFrame() {
   size_t sent = 0;
   for ( int flags = MSG_NOSIGNAL;; flags |= MSG_DONTWAIT ) {
      ssize_t count = send( fd_, request_.data() + sent, request_.size() - sent, flags );
      if ( count < 0 && !isTransient( errno ) ) {
         return -1;
      }
      sent += static_cast< size_t >( std::max< ssize_t >( count, 0 ) );
      if ( sent == request_.size() ) {
         return 0;
      }
      if ( waitFor( POLLOUT ) < 0 ) {
         return -1;
      }
   }
}

int PLSocket::receiveFrame() {
   received_ = 0;
   buffer_.resize( std::max( buffer_.size(), kReceiveSize ) );
   for ( int flags = 0;; flags = MSG_DONTWAIT ) {
      ssize_t count = recv( fd_, buffer_.data() + received_, buffer_.size() - received_, flags );
      if ( count == 0 ) {
         return fail( ECONNRESET );
      }
      if ( count < 0 && !isTransient( errno ) ) {
         return -1;
      }
      received_ += static_cast< uint32_t >( std::max< ssize_t >( count, 0 ) );
      if ( received_ >= lengthWanted_ ) {
         lengthBuffer_.assign( buffer_, 0, lengthWanted_ );
         payload_ = Frame::payloadLength( lengthBuffer_.data() );
         size_t expected = lengthWanted_ + size_t{ payload_ };
         if ( payload_ > Frame::kMaxPayload || received_ > expected ) {
            return broken( kMalformed );
         }
         if ( received_ == expected ) {
            return 0;
         }
         buffer_.resize( std::max( buffer_.size(), expected ) );
      }
      if ( waitFor( POLLIN ) < 0 ) {
         return -1;
      }
   }
}

// Returns early after a signal.
int PLSocket::waitFor( short events ) const {
   int64_t left = ( pending_.back() - monotonicNow() + 999'999 ) / 1'000'000;
   pollfd descriptor{ fd_, events, 0 };
   int ready = poll( &descriptor, 1, static_cast< int >( std::max< int64_t >( left, 0 ) ) );
   // What is there by now counts, also when the process was stopped for longer.
   if ( ready == 0 && left <= 0 ) {
      return fail( ETIMEDOUT );
   }
   return ready < 0 && !isTransient( errno ) ? -1 : 0;
}

}  // namespace PlatformLibrary

void pl_service_disconnect( void ) {
   PlatformLibrary::PLSocket::disconnectAll();
}
