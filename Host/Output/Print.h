#pragma once

#include <string_view>

// What the program tells. None of it fails: whether all of it was written is asked at the end.
namespace Host {

// On the standard output, as it stands.
void print( std::string_view text );

// A line on stderr, whatever the text was made of.
void complain( std::string_view text );

// Writes what is left. False when some of the standard output is lost.
bool flushOutput();

}  // namespace Host
