#include "Host/Session/Worker.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <poll.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <exception>
#include <system_error>

#include "Host/Session/Reason.h"
#include "Utils/Text.h"
#include "pl_host.h"

namespace Host {

namespace {

constexpr int32_t kFailure = -1;        // message type; the text holds details and words
constexpr size_t kMaxText = 32 * 1024;  // of one message: a packet must fit the socket's buffer
constexpr size_t kMaxNumbers = 4096;    // of one request

struct Header {
   int32_t type, number, status, hasValue;
   double value;
};

void orThrow( int result, const char* what ) {
   if ( result < 0 ) {
      throw std::system_error( errno, std::generic_category(), what );
   }
}

void sendFailure( void* link, const pl_service_failure* failure ) {
   RequestFailure sent = RequestFailure::of( *failure );
   std::string details( reinterpret_cast< const char* >( &sent.details ), sizeof sent.details );
   static_cast< const Worker::Link* >( link )->send(
      { .type = kFailure, .text = details + sent.words } );
}

RequestFailure failureIn( const Message& message ) {
   RequestFailure failure{};
   memcpy( &failure.details, message.text.data(), sizeof failure.details );
   failure.words = message.text.substr( sizeof failure.details );
   return failure;
}

void endWith( pid_t parent ) {
   prctl( PR_SET_PDEATHSIG, SIGKILL );
   if ( getppid() != parent ) {
      _exit( EXIT_FAILURE );
   }
}

int awaitEnd( pid_t process ) {
   int status = 0;
   while ( waitpid( process, &status, 0 ) < 0 && errno == EINTR ) {
   }
   return status;
}

// An exception ends the process as an assertion does.
[[noreturn]] void runBody( const Worker::Body& body,
                           int socket,
                           int output,
                           int traceLevel ) noexcept {
   signal( SIGINT, SIG_IGN );  // the parent decides what an interrupt from the terminal means
   dup2( output, STDOUT_FILENO );
   dup2( output, STDERR_FILENO );
   const Worker::Link link( socket );
   pl_trace_level_set( traceLevel );
   pl_failure_sink_set( sendFailure, const_cast< Worker::Link* >( &link ) );
   body( link );
   _exit( EXIT_SUCCESS );
}

}  // namespace

void Worker::Link::send( const Message& message ) const {
   Header header{ message.type, message.number, message.status, message.value.has_value(),
                  message.value.value_or( 0 ) };
   iovec parts[] = {
      { &header, sizeof header },
      { const_cast< char* >( message.text.data() ), std::min( message.text.size(), kMaxText ) },
   };
   msghdr packet{};
   packet.msg_iov = parts;
   packet.msg_iovlen = 2;
   while ( sendmsg( socket_, &packet, MSG_NOSIGNAL ) < 0 ) {
      if ( errno != EINTR ) {
         _exit( EXIT_FAILURE );
      }
   }
}

std::optional< std::vector< int32_t > > Worker::Link::awaitRequest() const {
   while ( true ) {
      pollfd descriptor{ socket_, POLLIN, 0 };
      int ready = poll( &descriptor, 1, pl_timer_wait() );
      if ( ready > 0 ) {
         std::vector< int32_t > numbers( kMaxNumbers );
         ssize_t size = recv( socket_, numbers.data(), kMaxNumbers * sizeof( int32_t ), 0 );
         numbers.resize( static_cast< size_t >( std::max< ssize_t >( size, 0 ) ) /
                         sizeof( int32_t ) );
         if ( numbers.empty() ) {
            return std::nullopt;
         }
         numbers.pop_back();
         return numbers;
      }
      pl_timer_run();
   }
}

int Worker::Link::runInChild( const std::function< void() >& work ) const {
   fflush( nullptr );
   pid_t parent = getpid();
   pid_t child = fork();
   orThrow( child, "fork" );
   if ( child == 0 ) {
      endWith( parent );
      work();
      _exit( EXIT_SUCCESS );
   }
   return awaitEnd( child );
}

Worker::Worker( const Body& body, int traceLevel ) : prints_( traceLevel >= 0 ) {
   int sockets[ 2 ];
   int pipes[ 2 ];
   orThrow( socketpair( AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, sockets ), "socketpair" );
   orThrow( pipe2( pipes, O_CLOEXEC ), "pipe" );
   fflush( nullptr );
   pid_t parent = getpid();
   process_ = fork();
   orThrow( process_, "fork" );
   if ( process_ == 0 ) {
      endWith( parent );
      close( sockets[ 0 ] );
      close( pipes[ 0 ] );
      runBody( body, sockets[ 1 ], pipes[ 1 ], traceLevel );
   }
   close( sockets[ 1 ] );
   close( pipes[ 1 ] );
   socket_ = sockets[ 0 ];
   output_ = pipes[ 0 ];
   fcntl( output_, F_SETFL, O_NONBLOCK );
}

Worker::~Worker() {
   end();
   close( socket_ );
   close( output_ );
}

// A packet without bytes would be the end.
void Worker::request( std::vector< int32_t > numbers ) const {
   numbers.push_back( 0 );
   // Should the process be dead, take() finds out.
   send( socket_, numbers.data(), numbers.size() * sizeof( int32_t ), MSG_NOSIGNAL );
}

void Worker::addDescriptors( std::vector< pollfd >& descriptors ) const {
   descriptors.push_back( { socket_, POLLIN, 0 } );
   descriptors.push_back( { output_, POLLIN, 0 } );
}

std::optional< Message > Worker::take() {
   passOutput();
   while ( auto message = receive() ) {
      if ( message->type != kFailure ) {
         return message;
      }
      failure_ = failureIn( *message );
   }
   return std::nullopt;
}

std::optional< Message > Worker::receive() {
   Header header{};
   packet_.resize( kMaxText );
   iovec parts[] = { { &header, sizeof header }, { packet_.data(), packet_.size() } };
   msghdr packet{};
   packet.msg_iov = parts;
   packet.msg_iovlen = 2;
   ssize_t length;
   do {
      length = recvmsg( socket_, &packet, MSG_DONTWAIT );
      // A process that died with our request unread resets the connection; its own last messages
      // come after that.
   } while ( length < 0 && ( errno == EINTR || errno == ECONNRESET ) );
   if ( length < static_cast< ssize_t >( sizeof header ) ) {
      hasEnded_ = length >= 0 || errno != EAGAIN;
      return std::nullopt;
   }
   Message message{ header.type,
                    header.number,
                    header.status,
                    {},
                    packet_.substr( 0, static_cast< size_t >( length ) - sizeof header ) };
   if ( header.hasValue ) {
      message.value = header.value;
   }
   return message;
}

// False when there is no more of it now.
bool Worker::passOutput() {
   char buffer[ 4096 ];
   ssize_t length = read( output_, buffer, sizeof buffer );
   if ( length > 0 && prints_ ) {
      printed_.append( buffer, static_cast< size_t >( length ) );
      size_t wholeLines = printed_.rfind( '\n' ) + 1;
      printFirst( printed_.size() < kMaxText ? wholeLines : printed_.size() );
   }
   return length > 0;
}

// Names of a board's documents are among what the library prints, and need not suit a terminal.
void Worker::printFirst( size_t size ) {
   fputs( Utils::printableLines( printed_.substr( 0, size ) ).c_str(), stderr );
   printed_.erase( 0, size );
}

int Worker::end() {
   int status = 0;
   if ( process_ > 0 ) {
      kill( process_, SIGKILL );
      status = awaitEnd( process_ );
      process_ = -1;
      while ( passOutput() ) {
      }
      printFirst( printed_.size() );
   }
   return status;
}

}  // namespace Host
