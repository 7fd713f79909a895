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

#include "pl_host.h"

namespace Host {

namespace {

constexpr int32_t kTrace = -1;             // message type; the number is the level
constexpr size_t kMaxText = 32 * 1024;     // of one message: a packet must fit the socket's buffer
constexpr size_t kMaxTraces = 200;         // kept of one step, the latest
constexpr size_t kMaxPrinted = 64 * 1024;  // kept of what the process prints

struct Header {
   int32_t type, number, status, hasValue;
   double value;
};

void check( int result, const char* what ) {
   if ( result < 0 ) {
      throw std::system_error( errno, std::generic_category(), what );
   }
}

void traceToParent( void* link, int level, const char* text ) {
   static_cast< const Worker::Link* >( link )->send(
      { .type = kTrace, .number = level, .text = text } );
}

[[noreturn]] void runBody( const Worker::Body& body, int socket, int output, int traceLevel ) {
   signal( SIGINT, SIG_IGN );  // the parent decides what an interrupt from the terminal means
   dup2( output, STDOUT_FILENO );
   dup2( output, STDERR_FILENO );
   const Worker::Link link( socket );
   pl_trace_level_set( std::max( traceLevel, kReasonLevel ) );
   pl_trace_sink_set( traceToParent, const_cast< Worker::Link* >( &link ) );
   try {
      body( link );
   } catch ( const std::exception& error ) {
      fprintf( stderr, "%s\n", error.what() );
      _exit( EXIT_FAILURE );
   } catch ( ... ) {
      fprintf( stderr, "unknown exception\n" );
      _exit( EXIT_FAILURE );
   }
   _exit( EXIT_SUCCESS );
}

}  // namespace

void Worker::Link::send( const Message& message ) const {
   Header header{ message.type, message.number, message.status, message.hasValue, message.value };
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

Worker::Worker( const Body& body, int traceLevel ) : traceLevel_( traceLevel ) {
   int sockets[ 2 ];
   int pipes[ 2 ];
   check( socketpair( AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, sockets ), "socketpair" );
   check( pipe2( pipes, O_CLOEXEC ), "pipe" );
   fflush( nullptr );
   pid_t parent = getpid();
   process_ = fork();
   check( process_, "fork" );
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

std::optional< Message > Worker::next( std::chrono::milliseconds limit ) {
   auto deadline = std::chrono::steady_clock::now() + limit;
   while ( waitReadable( deadline ) ) {
      auto message = receive();
      if ( !message || message->type != kTrace ) {
         return message;
      }
      keepTrace( *message );
   }
   exceeded_ = limit;
   return std::nullopt;
}

// False when the deadline has passed.
bool Worker::waitReadable( std::chrono::steady_clock::time_point deadline ) {
   while ( true ) {
      auto left = std::chrono::ceil< std::chrono::milliseconds >(
         deadline - std::chrono::steady_clock::now() );
      if ( left.count() <= 0 ) {
         return false;
      }
      pollfd descriptors[] = { { socket_, POLLIN, 0 }, { output_, POLLIN, 0 } };
      int ready = poll( descriptors, 2, static_cast< int >( left.count() ) );
      if ( ready > 0 && descriptors[ 0 ].revents ) {
         return true;
      }
      if ( ready > 0 ) {
         drainOutput();
      }
   }
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
   return Message{ header.type,          header.number, header.status,
                   header.hasValue != 0, header.value,  std::move( text ) };
}

void Worker::keepTrace( Message& message ) {
   if ( message.number <= traceLevel_ ) {
      fprintf( stderr, "%s\n", message.text.c_str() );
   }
   if ( message.number <= kReasonLevel ) {
      if ( traces_.size() == kMaxTraces ) {
         traces_.erase( traces_.begin() );
      }
      traces_.push_back( { message.number, std::move( message.text ) } );
   }
}

void Worker::drainOutput() {
   char buffer[ 4096 ];
   ssize_t length;
   while ( ( length = read( output_, buffer, sizeof buffer ) ) > 0 ) {
      std::string_view part( buffer, static_cast< size_t >( length ) );
      if ( traceLevel_ >= 0 ) {
         fwrite( part.data(), 1, part.size(), stderr );
      }
      printed_ += part.substr( 0, kMaxPrinted - std::min( kMaxPrinted, printed_.size() ) );
   }
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
   drainOutput();
   return exceeded_ ? whyHung( *exceeded_, traces_ ) : whyDied( status, printed_, traces_ );
}

}  // namespace Host
