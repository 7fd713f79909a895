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
#include "pl_host.h"

namespace Host {

namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

constexpr int32_t kFailure = -1;        // message type; the text holds details and words
constexpr size_t kMaxText = 32 * 1024;  // of one message: a packet must fit the socket's buffer

// How long this program waits at a time: where much more passed, it was stopped.
constexpr milliseconds kStep( 100 );

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

class Worker::Patience {
 public:
   explicit Patience( milliseconds limit ) : left_( limit ) {}

   // For poll(); 0 at the end.
   int nextWait() const {
      auto wait = std::chrono::ceil< milliseconds >(
         std::clamp< steady_clock::duration >( left_, {}, kStep ) );
      return static_cast< int >( wait.count() );
   }

   // That has passed since the last time.
   void deductTime() {
      auto now = steady_clock::now();
      left_ -= std::min< steady_clock::duration >( now - last_, kStep );
      last_ = now;
   }

 private:
   steady_clock::duration left_;
   steady_clock::time_point last_ = steady_clock::now();
};

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

bool Worker::Link::awaitRequest() const {
   while ( true ) {
      pollfd descriptor{ socket_, POLLIN, 0 };
      int ready = poll( &descriptor, 1, pl_timer_wait() );
      if ( ready > 0 ) {
         char request;
         return recv( socket_, &request, sizeof request, 0 ) > 0;
      }
      pl_timer_run();
   }
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
      prctl( PR_SET_PDEATHSIG, SIGKILL );
      if ( getppid() != parent ) {
         _exit( EXIT_FAILURE );
      }
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
   reap();
   close( socket_ );
   close( output_ );
}

void Worker::request() const {
   // Should the process be dead, next() finds out.
   send( socket_, "r", 1, MSG_NOSIGNAL );
}

std::optional< Message > Worker::next( milliseconds limit ) {
   Patience patience( limit );
   while ( waitReadable( patience ) ) {
      auto message = receive();
      if ( !message || message->type != kFailure ) {
         return message;
      }
      failure_ = failureIn( *message );
   }
   exceeded_ = limit;
   return std::nullopt;
}

// False when the patience has come to its end.
bool Worker::waitReadable( Patience& patience ) {
   while ( int wait = patience.nextWait() ) {
      pollfd descriptors[] = { { socket_, POLLIN, 0 }, { output_, POLLIN, 0 } };
      poll( descriptors, 2, wait );
      patience.deductTime();
      if ( descriptors[ 1 ].revents ) {
         passOutput();
      }
      if ( descriptors[ 0 ].revents ) {
         return true;
      }
   }
   return false;
}

std::optional< Message > Worker::receive() {
   Header header{};
   std::string text( kMaxText, '\0' );
   iovec parts[] = { { &header, sizeof header }, { text.data(), text.size() } };
   msghdr packet{};
   packet.msg_iov = parts;
   packet.msg_iovlen = 2;
   ssize_t length;
   do {
      length = recvmsg( socket_, &packet, 0 );
      // A process that died with our request unread resets the connection; its own last messages
      // come after that.
   } while ( length < 0 && ( errno == EINTR || errno == ECONNRESET ) );
   if ( length < static_cast< ssize_t >( sizeof header ) ) {
      return std::nullopt;
   }
   text.resize( static_cast< size_t >( length ) - sizeof header );
   Message message{ header.type, header.number, header.status, {}, std::move( text ) };
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
      fwrite( buffer, 1, static_cast< size_t >( length ), stderr );
   }
   return length > 0;
}

int Worker::reap() {
   int status = 0;
   if ( process_ > 0 ) {
      kill( process_, SIGKILL );
      while ( waitpid( process_, &status, 0 ) < 0 && errno == EINTR ) {
      }
      process_ = -1;
   }
   return status;
}

std::string Worker::end() {
   int status = reap();
   while ( passOutput() ) {
   }
   return exceeded_ ? whyHung( *exceeded_ ) : whyDied( status );
}

}  // namespace Host
