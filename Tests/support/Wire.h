#pragma once

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <string>

#include "Platform/Frame.h"

// Frames and sockets by hand.
namespace Tests {

inline sockaddr_un addressOf( const std::string& path ) {
   sockaddr_un address{};
   address.sun_family = AF_UNIX;
   path.copy( address.sun_path, sizeof address.sun_path - 1 );
   return address;
}

inline bool sendBytes( int socket, const std::string& bytes ) {
   return send( socket, bytes.data(), bytes.size(), MSG_NOSIGNAL ) ==
          static_cast< ssize_t >( bytes.size() );
}

inline std::string frameOf( const google::protobuf::MessageLite& message ) {
   std::string frame;
   PlatformLibrary::Frame::encode( message, frame );
   return frame;
}

// The bytes that come next; fewer when the connection ends, or when nothing comes in time: EAGAIN.
inline std::string receiveBytes( int socket, size_t count ) {
   std::string bytes( count, '\0' );
   errno = 0;
   ssize_t size = count ? recv( socket, bytes.data(), count, MSG_WAITALL ) : 0;
   bytes.resize( static_cast< size_t >( std::max< ssize_t >( size, 0 ) ) );
   return bytes;
}

// Whether a whole frame has come.
inline bool receivePayload( int socket, std::string& payload ) {
   using namespace PlatformLibrary;
   std::string header = receiveBytes( socket, Frame::kHeaderSize );
   if ( header.size() < Frame::kHeaderSize ) {
      return false;
   }
   payload = receiveBytes( socket, Frame::payloadLength( header.data() ) );
   return payload.size() == Frame::payloadLength( header.data() );
}

}  // namespace Tests
