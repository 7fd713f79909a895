#pragma once

#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <filesystem>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "Platform/Frame.h"
#include "smbus.pb.h"

namespace ScriptedService {

// The frame that comes next, empty when the client has closed the connection.
inline std::string receive( int fd ) {
   std::string frame( PlatformLibrary::Frame::kHeaderSize, '\0' );
   if ( recv( fd, frame.data(), frame.size(), MSG_WAITALL ) <= 0 ) {
      return {};
   }
   size_t length = PlatformLibrary::Frame::payloadLength( frame.data() );
   frame.resize( frame.size() + length );
   recv( fd, frame.data() + PlatformLibrary::Frame::kHeaderSize, length, MSG_WAITALL );
   return frame;
}

inline bool send( int fd, const std::string& bytes ) {
   return ::send( fd, bytes.data(), bytes.size(), MSG_NOSIGNAL ) > 0;
}

// The right answer to a request's frame: each request's data comes back.
inline std::string answerTo( const std::string& frame ) {
   Smbus::TransactionRequest batch;
   batch.ParseFromString( frame.substr( PlatformLibrary::Frame::kHeaderSize ) );
   Smbus::TransactionResponse answer;
   for ( const Smbus::Request& request : batch.request() ) {
      answer.add_response()->set_data( request.data() );
   }
   std::string reply;
   PlatformLibrary::Frame::encode( answer, reply );
   return reply;
}

inline void waitFor( int fd, short events ) {
   pollfd descriptor{ fd, events, 0 };
   poll( &descriptor, 1, 10000 );
}

// Answers until the client closes the connection.
inline void serve( int fd ) {
   for ( std::string frame; !( frame = receive( fd ) ).empty(); ) {
      send( fd, answerTo( frame ) );
   }
}

// A server whose n-th connection is handled by the n-th script; ends with its last script.
class Server {
 public:
   using Script = std::function< void( int fd ) >;

   Server( const std::filesystem::path& path, std::vector< Script > scripts )
       : listener_( socket( AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0 ) ) {
      sockaddr_un address{};
      address.sun_family = AF_UNIX;
      path.string().copy( address.sun_path, sizeof address.sun_path - 1 );
      std::filesystem::remove( path );
      bind( listener_, reinterpret_cast< sockaddr* >( &address ), sizeof address );
      listen( listener_, 8 );
      thread_ = std::thread( [ this, scripts ] { run( scripts ); } );
   }

   ~Server() {
      shutdown( listener_, SHUT_RDWR );
      finish();
      close( listener_ );
   }

   // Waits until every script has run.
   void finish() {
      if ( thread_.joinable() ) {
         thread_.join();
      }
   }

 private:
   void run( const std::vector< Script >& scripts ) const {
      for ( const Script& script : scripts ) {
         int fd = accept4( listener_, nullptr, nullptr, SOCK_CLOEXEC );
         if ( fd < 0 ) {
            return;
         }
         script( fd );
         close( fd );
      }
   }

   int listener_;
   std::thread thread_;
};

}  // namespace ScriptedService
