#pragma once

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <string>

#include "Platform/Frame.h"
#include "Tests/support/Hex.h"

// Frames and sockets by hand.
namespace Tests {

// A new socket that bind() or connect() has tied to a path.
inline int socketAt( const std::string& path,
                     int ( *tie )( int, const sockaddr*, socklen_t ),
                     int type = SOCK_STREAM ) {
   sockaddr_un address{ AF_UNIX, {} };
   path.copy( address.sun_path, sizeof address.sun_path - 1 );
   int result = socket( AF_UNIX, type | SOCK_CLOEXEC, 0 );
   tie( result, reinterpret_cast< sockaddr* >( &address ), sizeof address );
   return result;
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

// The bytes that come next; fewer when the connection ends.
inline std::string receiveBytes( int socket, size_t count ) {
   std::string bytes( count, '\0' );
   ssize_t size = count ? recv( socket, bytes.data(), count, MSG_WAITALL ) : 0;
   bytes.resize( static_cast< size_t >( std::max< ssize_t >( size, 0 ) ) );
   return bytes;
}

// Whether a whole frame has come.
inline bool receivePayload( int socket, std::string& payload ) {
   std::string header = receiveBytes( socket, PlatformLibrary::Frame::kHeaderSize );
   if ( header.size() < PlatformLibrary::Frame::kHeaderSize ) {
      return false;
   }
   size_t length = PlatformLibrary::Frame::payloadLength( header.data() );
   payload = receiveBytes( socket, length );
   return payload.size() == length;
}

}  // namespace Tests
