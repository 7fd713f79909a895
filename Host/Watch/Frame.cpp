#include "Host/Watch/Frame.h"

#include "Utils/Text.h"

namespace Host {

namespace {

bool continues( char byte ) {
   return ( static_cast< unsigned char >( byte ) & 0xC0 ) == 0x80;
}

// As many whole characters from the front as the columns hold, with the marks that combine.
std::string front( const std::string& text, size_t columns ) {
   size_t end = 0;
   for ( size_t next = 0; next < text.size(); end = next ) {
      do {
         ++next;
      } while ( next < text.size() && continues( text[ next ] ) );
      if ( Utils::length( text.substr( 0, next ) ) > columns ) {
         break;
      }
   }
   return text.substr( 0, end );
}

}  // namespace

std::string fitted( std::string_view text, size_t columns, Align align ) {
   std::string shown = Utils::printable( text );
   if ( Utils::length( shown ) > columns ) {
      shown = columns == 0 ? "" : front( shown, columns - 1 ) + "~";
   }
   std::string blanks( columns - Utils::length( shown ), ' ' );
   return align == Align::Left ? shown + blanks : blanks + shown;
}

}  // namespace Host
