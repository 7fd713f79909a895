#pragma once

#include <cstddef>
#include <string>

namespace BoardFiles {

// Where something stands in a board's documents.
struct Place {
   std::string file;     // path, with ":LINE:COLUMN" where no JSON
   std::string pointer;  // JSON pointer (RFC 6901), "" for the whole document

   // A member of this place.
   Place member( const std::string& name ) const;

   bool operator==( const Place& ) const = default;
};

// A part of a JSON pointer, with its '~' and '/' escaped.
std::string pointerToken( const std::string& name );

// ":LINE:COLUMN" of a byte, both from 1.
std::string lineAndColumn( const std::string& text, size_t offset );

}  // namespace BoardFiles
