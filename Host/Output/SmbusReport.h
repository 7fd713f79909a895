#pragma once

#include <string>
#include <string_view>

#include "Host/Session/Observation.h"

// What the program prints of raw transactions. What was read is bytes, in the order of the bus.
namespace Host {

enum class Answer { Bytes, Word };  // a word comes with its low byte first

// "0x70 0x6f", or "0x6f70"; empty where nothing was read.
std::string answerText( std::string_view bytes, Answer form );

// Lines of an offset, 16 bytes and their characters, points in place of those that are not ASCII:
// "0000  70 6f 72 74 20 31 ff ff  ff ff ff ff ff ff ff ff  port 1.........."
std::string hexDump( std::string_view bytes );

// What the observation of an endpoint has as its text, or why there is no answer.
std::string smbusJson( const std::string& board,
                       const std::string& operation,
                       const Observation& endpoint,
                       Answer form );

}  // namespace Host
