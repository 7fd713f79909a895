#include "Host/Watch/Frame.h"

#include "Utils/Text.h"

namespace Host {

namespace {

bool continues( char byte ) {
   return ( static_cast< unsigned char >( byte ) & 0xC0 ) == 0x80;
}

// As many whole characters from the front as the columns hold, with the marks that combine.
std::string_view front( std::string_view text, size_t columns ) {
   size_t width = 0;
   for ( size_t next = 0, end = 0; next < text.size(); end = next ) {
      do {
         ++next;
      } while ( next < text.size() && continues( text[ next ] ) );
      width += Utils::length( text.substr( end, next - end ) );
      if ( width > columns ) {
         return text.substr( 0, end );
      }
   }
   return text;
}

}  // namespace

std::string fitted( std::string_view text, size_t columns, Align align ) {
   std::string shown = Utils::printable( text );
   if ( Utils::length( shown ) > columns ) {
      shown = columns == 0 ? "" : std::string( front( shown, columns - 1 ) ) + "~";
   }
   std::string blanks( columns - Utils::length( shown ), ' ' );
   return align == Align::Left ? shown + blanks : blanks + shown;
}

}  // namespace Host
