#include "SmbusService/Emulator/Chips/FruImage.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <array>
#include <numeric>
#include <span>
#include <stdexcept>

namespace SmbusService::Emulator {

namespace {

constexpr char kVersion = 1;
constexpr char kEnglish = 25;
constexpr size_t kUnit = 8;        // of offsets and lengths
constexpr size_t kLongest = 63;    // of a text
constexpr size_t kText = 0xc0;     // in the byte before a text: 8-bit characters, their number
constexpr char kEnd = '\xc1';      // after the last text, where a text of one byte would stand
constexpr size_t kAreaLength = 1;  // where an area has its length
constexpr std::string_view kNoDate( "\0\0\0", 3 );

// In their order in the areas.
constexpr std::array< std::string_view, 7 > kProduct = {
   "manufacturer", "productName", "partNumber", "version", "serialNumber", "assetTag", "fileId" };
constexpr std::array< std::string_view, 5 > kBoard = {
   "boardManufacturer", "boardProductName", "boardSerialNumber", "boardPartNumber", "boardFileId" };

// Makes the sum of all bytes 0.
char checksum( std::string_view bytes ) {
   return static_cast< char >( -std::accumulate( bytes.begin(), bytes.end(), 0 ) );
}

// Of UTF-8, the 8-bit text that the memory can hold.
std::string latinOf( std::string_view name, std::string_view utf8 ) {
   std::string text;
   for ( size_t i = 0; i < utf8.size(); ++i ) {
      auto byte = static_cast< uint8_t >( utf8[ i ] );
      if ( byte < 0x80 ) {
         text += utf8[ i ];
      } else if ( byte <= 0xc3 && i + 1 < utf8.size() ) {
         text += static_cast< char >( ( byte & 3 ) << 6 | ( utf8[ ++i ] & 0x3f ) );
      } else {
         throw std::invalid_argument(
            fmt::format( "'{}' can have Latin characters only (ISO 8859-1) on this chip", name ) );
      }
   }
   return text;
}

void check( std::string_view name, std::string_view text ) {
   if ( std::ranges::count( kProduct, name ) + std::ranges::count( kBoard, name ) == 0 ) {
      throw std::invalid_argument( fmt::format( "unknown field '{}'; this chip has {}, {}", name,
                                                fmt::join( kProduct, ", " ),
                                                fmt::join( kBoard, ", " ) ) );
   }
   size_t length = latinOf( name, text ).size();
   if ( length > kLongest ) {
      throw std::invalid_argument( fmt::format(
         "'{}' can have up to {} characters on this chip, not {}", name, kLongest, length ) );
   }
}

std::string encode( std::string_view name, std::string_view utf8 ) {
   std::string text = latinOf( name, utf8 );
   text += text.size() == 1 ? " " : "";
   return static_cast< char >( kText | text.size() ) + text;
}

template < size_t kCount >
std::string area( std::string_view before,
                  const std::array< std::string_view, kCount >& names,
                  const FruFields& fields ) {
   std::string bytes = { kVersion, 0, kEnglish };
   bytes += before;
   for ( std::string_view name : names ) {
      auto field = fields.find( name );
      bytes += encode( name, field == fields.end() ? "" : field->second );
   }
   bytes += kEnd;
   bytes.resize( bytes.size() / kUnit * kUnit + kUnit );
   bytes[ kAreaLength ] = static_cast< char >( bytes.size() / kUnit );
   bytes.back() = checksum( bytes );
   return bytes;
}

}  // namespace

std::string fruImage( const FruFields& fields ) {
   for ( const auto& [ name, text ] : fields ) {
      check( name, text );
   }
   auto isAnyOf = [ & ]( std::span< const std::string_view > names ) {
      return std::ranges::any_of(
         names, [ & ]( std::string_view name ) { return fields.contains( name ); } );
   };
   bool hasBoard = isAnyOf( kBoard );
   bool hasProduct = isAnyOf( kProduct ) || !hasBoard;
   std::string board = hasBoard ? area( kNoDate, kBoard, fields ) : "";
   std::string product = hasProduct ? area( "", kProduct, fields ) : "";
   auto boardOffset = static_cast< char >( hasBoard ? 1 : 0 );
   auto productOffset = static_cast< char >( hasProduct ? 1 + board.size() / kUnit : 0 );
   std::string header = { kVersion, 0, 0, boardOffset, productOffset, 0, 0 };
   header += checksum( header );
   return header + board + product;
}

}  // namespace SmbusService::Emulator
