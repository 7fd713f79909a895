#pragma once

#include <string>
#include <string_view>

namespace Host {

// Text fit for one line of a terminal or a JSON string, whatever it was made of: control characters
// become blanks, bytes that are no UTF-8 question marks.
std::string printable( std::string_view text );

// Characters of UTF-8 text.
size_t length( std::string_view text );

}  // namespace Host
