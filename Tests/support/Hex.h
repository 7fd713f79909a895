#pragma once

#include <string>

namespace Tests {

// Tests send a megabyte, too.
inline std::string hex( const std::string& bytes ) {
   std::string text( 2 * bytes.size(), '\0' );
   char* digit = text.data();
   for ( unsigned char byte : bytes ) {
      *digit++ = "0123456789abcdef"[ byte >> 4 ];
      *digit++ = "0123456789abcdef"[ byte & 15 ];
   }
   return text;
}

inline std::string bytesOf( const std::string& hex ) {
   std::string bytes;
   for ( size_t i = 0; i + 1 < hex.size(); i += 2 ) {
      bytes += static_cast< char >( std::stoi( hex.substr( i, 2 ), nullptr, 16 ) );
   }
   return bytes;
}

}  // namespace Tests
