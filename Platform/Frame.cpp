#include "Platform/Frame.h"

#include <arpa/inet.h>
#include <google/protobuf/message_lite.h>

#include <cstring>
#include <initializer_list>

namespace PlatformLibrary::Frame {

using google::protobuf::MessageLite;

namespace {

bool encodeAll( std::initializer_list< const MessageLite* > messages, std::string& frame ) {
   size_t length = 0;
   for ( const MessageLite* message : messages ) {
      length += message->ByteSizeLong();
   }
   if ( length > kMaxPayload ) {
      return false;
   }
   frame.resize( kHeaderSize + length );
   uint32_t header = htonl( static_cast< uint32_t >( length ) );
   memcpy( frame.data(), &header, kHeaderSize );
   auto end = reinterpret_cast< uint8_t* >( frame.data() ) + kHeaderSize;
   for ( const MessageLite* message : messages ) {
      end = message->SerializeWithCachedSizesToArray( end );
   }
   return true;
}

}  // namespace

bool encode( const MessageLite& message, std::string& frame ) {
   return encodeAll( { &message }, frame );
}

// Encoded messages that stand one behind the other are the encoding of their merger.
bool encode( const MessageLite& message, const MessageLite& more, std::string& frame ) {
   return encodeAll( { &message, &more }, frame );
}

uint32_t payloadLength( const char* header ) {
   uint32_t length;
   memcpy( &length, header, kHeaderSize );
   return ntohl( length );
}

}  // namespace PlatformLibrary::Frame
