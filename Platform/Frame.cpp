#include "Platform/Frame.h"

#include <arpa/inet.h>
#include <google/protobuf/message_lite.h>

#include <cstring>

namespace PlatformLibrary::Frame {

bool encode( const google::protobuf::MessageLite& message, std::string& frame ) {
   size_t length = message.ByteSizeLong();
   if ( length > kMaxPayload ) {
      return false;
   }
   frame.resize( kHeaderSize + length );
   uint32_t header = htonl( static_cast< uint32_t >( length ) );
   memcpy( frame.data(), &header, kHeaderSize );
   message.SerializeWithCachedSizesToArray( reinterpret_cast< uint8_t* >( frame.data() ) +
                                            kHeaderSize );
   return true;
}

uint32_t payloadLength( const char* header ) {
   uint32_t length;
   memcpy( &length, header, kHeaderSize );
   return ntohl( length );
}

}  // namespace PlatformLibrary::Frame
