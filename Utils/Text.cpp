#include "Utils/Text.h"

#include <locale.h>
#include <wchar.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>

namespace Utils {

namespace {

bool continues( char c ) {
   return ( static_cast< uint8_t >( c ) & 0xC0 ) == 0x80;
}

// Bytes of the character at the front, 0 when it is no UTF-8.
size_t characterSize( std::string_view text ) {
   auto first = static_cast< uint8_t >( text[ 0 ] );
   auto second = static_cast< uint8_t >( text.size() > 1 ? text[ 1 ] : 0 );
   if ( first < 0x80 ) {
      return 1;
   }
   size_t size = first >= 0xF0 ? 4 : first >= 0xE0 ? 3 : 2;
   bool overlong =
      first < 0xC2 || ( first == 0xE0 && second < 0xA0 ) || ( first == 0xF0 && second < 0x90 );
   bool outside =
      first > 0xF4 || ( first == 0xF4 && second > 0x8F ) || ( first == 0xED && second > 0x9F );
   if ( overlong || outside || text.size() < size ) {
      return 0;
   }
   return std::ranges::all_of( text.substr( 1, size - 1 ), continues ) ? size : 0;
}

bool controls( std::string_view character ) {
   auto first = static_cast< uint8_t >( character[ 0 ] );
   if ( character.size() == 1 ) {
      return first < 0x20 || first == 0x7F;
   }
   auto isBetween = [ character ]( std::string_view low, std::string_view high ) {
      return character >= low && character <= high;
   };
   return isBetween( "\u0080", "\u009F" ) || isBetween( "\u200E", "\u200F" ) ||
          isBetween( "\u2028", "\u202E" ) || isBetween( "\u2066", "\u2069" );
}

// The C library's knowledge of characters, for this thread and for as long as the object lives: a
// program that sets no locale would have that of ASCII only.
class CharacterTable {
 public:
   CharacterTable() {
      static const locale_t utf8 = newlocale( LC_CTYPE_MASK, "C.UTF-8", nullptr );
      before_ = uselocale( utf8 );
   }
   ~CharacterTable() { uselocale( before_ ); }
   CharacterTable( const CharacterTable& ) = delete;
   CharacterTable& operator=( const CharacterTable& ) = delete;

   size_t columns( std::string_view character ) const;

 private:
   locale_t before_;
};

size_t CharacterTable::columns( std::string_view character ) const {
   auto first = static_cast< uint8_t >( character[ 0 ] );
   uint32_t code = character.size() == 1 ? first : first & ( 0x7Fu >> character.size() );
   for ( char c : character.substr( 1 ) ) {
      code = code << 6 | ( static_cast< uint8_t >( c ) & 0x3F );
   }
   int width = controls( character ) ? 1 : wcwidth( static_cast< wchar_t >( code ) );
   return width < 0 ? 1 : static_cast< size_t >( width );
}

std::string_view firstCharacter( std::string_view text ) {
   return text.substr( 0, std::max< size_t >( characterSize( text ), 1 ) );
}

}  // namespace

std::string printable( std::string_view text ) {
   std::string result;
   while ( !text.empty() ) {
      size_t size = characterSize( text );
      std::string_view character = text.substr( 0, size );
      if ( size == 0 ) {
         result += '?';
      } else if ( controls( character ) ) {
         result += ' ';
      } else {
         result += character;
      }
      text.remove_prefix( std::max< size_t >( size, 1 ) );
   }
   return result;
}

std::string printableLines( std::string_view text ) {
   std::string result;
   while ( !text.empty() ) {
      size_t end = std::min( text.find( '\n' ), text.size() );
      result += printable( text.substr( 0, end ) ) + "\n";
      text.remove_prefix( std::min( end + 1, text.size() ) );
   }
   return result;
}

std::string_view trimmed( std::string_view text ) {
   constexpr std::string_view kBlanks = " \t\r";
   size_t first = std::min( text.find_first_not_of( kBlanks ), text.size() );
   return text.substr( first, text.find_last_not_of( kBlanks ) + 1 - first );
}

size_t findInvalid( std::string_view text ) {
   for ( size_t i = 0; i < text.size(); ) {
      size_t size = characterSize( text.substr( i ) );
      if ( size == 0 ) {
         return i;
      }
      i += size;
   }
   return std::string_view::npos;
}

std::string deviceLabel( std::string_view stem, uint8_t address ) {
   char suffix[ sizeof "<0x00>" ];
   snprintf( suffix, sizeof suffix, "<0x%02x>", address );
   return std::string( stem ) + suffix;
}

bool copyToHeap( const std::string& text, char** out ) {
   char* copy = strdup( text.c_str() );
   if ( copy ) {
      *out = copy;
   }
   return copy;
}

size_t columns( std::string_view text ) {
   CharacterTable table;
   size_t sum = 0;
   while ( !text.empty() ) {
      std::string_view character = firstCharacter( text );
      sum += table.columns( character );
      text.remove_prefix( character.size() );
   }
   return sum;
}

std::string fitted( std::string_view text, size_t columns ) {
   if ( Utils::columns( text ) <= columns ) {
      return std::string( text );
   }
   if ( columns == 0 ) {
      return "";
   }
   CharacterTable table;
   size_t left = columns - 1;
   size_t end = 0;
   while ( true ) {
      std::string_view character = firstCharacter( text.substr( end ) );
      size_t width = table.columns( character );
      if ( width > left ) {
         return std::string( text.substr( 0, end ) ) + "\u2026";
      }
      left -= width;
      end += character.size();
   }
}

}  // namespace Utils
