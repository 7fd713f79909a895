#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace Utils {

// Text fit for one line of a terminal or a JSON string, whatever it was made of: control
// characters, and those that turn the direction of writing, become blanks, bytes that are no UTF-8
// question marks.
std::string printable( std::string_view text );

// The same for several lines, each of which ends with a line feed.
std::string printableLines( std::string_view text );

// Without the blanks around it.
std::string_view trimmed( std::string_view text );

// Where the first byte is that is no UTF-8; npos when there is none.
size_t findInvalid( std::string_view text );

// The label of the device at an address of a bus, "STEM<0xNN>".
std::string deviceLabel( std::string_view stem, uint8_t address );

// A copy for whom frees it with free(). False, and nothing written, when memory ran out.
[[nodiscard]] bool copyToHeap( const std::string& text, char** out );

// How many columns of a terminal UTF-8 text takes: none for a combining character, two for a wide
// one (of East Asian scripts, an emoji), whatever the process's locale. A control character, and a
// byte that is no UTF-8, counts as the one that printable() puts there.
size_t columns( std::string_view text );

// The text, or what of its beginning fits into so many columns together with an ellipsis.
std::string fitted( std::string_view text, size_t columns );

}  // namespace Utils
