#include "Bench/Echo.h"

#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <stdexcept>

namespace Bench {

namespace {

[[noreturn]] void serve( int socket, std::string& request, const std::string& reply ) {
   prctl( PR_SET_PDEATHSIG, SIGKILL );
   while ( recv( socket, request.data(), request.size(), 0 ) > 0 &&
           send( socket, reply.data(), reply.size(), MSG_NOSIGNAL ) > 0 ) {
   }
   _exit( 0 );
}

}  // namespace

Echo::Echo( size_t requestSize, size_t replySize )
    : request_( requestSize, 'q' ), reply_( replySize, 'r' ) {
   int ends[ 2 ];
   if ( socketpair( AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends ) < 0 ) {
      throw std::runtime_error( "no socket pair for the echo" );
   }
   child_ = fork();
   if ( child_ == 0 ) {
      close( ends[ 0 ] );
      serve( ends[ 1 ], request_, reply_ );
   }
   close( ends[ 1 ] );
   socket_ = ends[ 0 ];
}

Echo::~Echo() {
   close( socket_ );
   waitpid( child_, nullptr, 0 );
}

void Echo::roundTrip() {
   if ( send( socket_, request_.data(), request_.size(), MSG_NOSIGNAL ) < 0 ||
        recv( socket_, reply_.data(), reply_.size(), 0 ) < 0 ) {
      throw std::runtime_error( "the echo is gone" );
   }
}

}  // namespace Bench
