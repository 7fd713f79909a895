#include "BoardFiles/Place.h"

#include <algorithm>
#include <iterator>

namespace BoardFiles {

Place Place::member( const std::string& name ) const {
   return { file, pointer + pointerToken( name ) };
}

std::string pointerToken( const std::string& name ) {
   std::string token = "/";
   for ( char c : name ) {
      if ( c == '~' || c == '/' ) {
         token += c == '~' ? "~0" : "~1";
      } else {
         token += c;
      }
   }
   return token;
}

std::string lineAndColumn( const std::string& text, size_t offset ) {
   auto end = text.begin() + static_cast< ptrdiff_t >( std::min( offset, text.size() ) );
   auto line = std::count( text.begin(), end, '\n' ) + 1;
   auto lineStart = std::find( std::make_reverse_iterator( end ), text.rend(), '\n' ).base();
   return ":" + std::to_string( line ) + ":" + std::to_string( end - lineStart + 1 );
}

}  // namespace BoardFiles
