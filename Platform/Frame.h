#pragma once

#include <cstdint>
#include <string>

namespace google::protobuf {
class MessageLite;
}

// One frame on the service's socket, in both directions: a payload length of four bytes, most
// significant first, then the payload, one protobuf message.
namespace PlatformLibrary::Frame {

constexpr uint32_t kHeaderSize = 4;
constexpr uint32_t kMaxPayload = 1024 * 1024;

// Replaces `frame` with the frame of one message, or of two of a kind merged into one; its memory
// is reused. False when the payload is longer than a frame may be.
bool encode( const google::protobuf::MessageLite& message, std::string& frame );
bool encode( const google::protobuf::MessageLite& message,
             const google::protobuf::MessageLite& more,
             std::string& frame );

// The payload length that the header's four bytes announce; may be beyond kMaxPayload.
uint32_t payloadLength( const char* header );

}  // namespace PlatformLibrary::Frame
