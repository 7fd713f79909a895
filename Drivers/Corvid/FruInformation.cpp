#include "Drivers/Corvid/FruInformation.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <numeric>
#include <vector>

namespace Drivers {

namespace {

using Bytes = std::string_view;

constexpr size_t kUnit = 8;  // offsets and lengths count these
constexpr uint8_t kVersion = 1;

// The common header: version, five offsets, padding, checksum.
constexpr size_t kHeaderLength = 8;
constexpr size_t kFirstOffset = 1;
constexpr size_t kOffsets = 5;
constexpr size_t kPadding = 6;
enum AreaType { kInternalUse, kChassis, kBoard, kProduct, kMultiRecord };

// An info area: version, length, language, then what the area's type says.
constexpr size_t kLength = 1;
constexpr size_t kLanguage = 2;
constexpr size_t kProductFields = 3;
constexpr size_t kBoardDate = 3;  // three bytes, low one first
constexpr size_t kBoardFields = 6;
constexpr uint8_t kEnglish[] = { 0, 25 };

// The byte before a field: how it is written, and its length.
constexpr uint8_t kLengthMask = 0x3F;
constexpr uint8_t kTypeShift = 6;
constexpr uint8_t kEndOfFields = 0xC1;
enum FieldType { kBinary, kBcdPlus, kSixBit, kText };

uint8_t byteAt( Bytes bytes, size_t place ) {
   return static_cast< uint8_t >( bytes[ place ] );
}

bool isZeroSum( Bytes bytes ) {
   return std::accumulate(
             bytes.begin(), bytes.end(), 0u,
             []( unsigned sum, char byte ) { return sum + static_cast< uint8_t >( byte ); } ) %
             256 ==
          0;
}

struct Area {
   size_t begin;
   size_t end;
};
using Areas = std::array< std::optional< Area >, kOffsets >;

bool hasLength( size_t type ) {
   return type == kChassis || type == kBoard || type == kProduct;
}

// An area without a length of its own takes no place that another could overlap but its first unit.
std::optional< Area > areaAt( Bytes image, size_t type, size_t begin ) {
   if ( begin < kHeaderLength || begin + kUnit > image.size() ) {
      return std::nullopt;
   }
   size_t length = hasLength( type ) ? byteAt( image, begin + kLength ) * kUnit : kUnit;
   if ( length == 0 || length > image.size() - begin ) {
      return std::nullopt;
   }
   return Area{ begin, begin + length };
}

bool overlap( const std::optional< Area >& one, const std::optional< Area >& other ) {
   return one && other && one->begin < other->end && other->begin < one->end;
}

// Where the image's areas are; nothing when they cannot be there.
std::optional< Areas > findAreas( Bytes image ) {
   if ( image.size() < kHeaderLength || !isZeroSum( image.substr( 0, kHeaderLength ) ) ||
        byteAt( image, 0 ) != kVersion || byteAt( image, kPadding ) != 0 ) {
      return std::nullopt;
   }
   Areas areas;
   for ( size_t type = 0; type < kOffsets; ++type ) {
      size_t begin = byteAt( image, kFirstOffset + type ) * kUnit;
      if ( begin == 0 ) {
         continue;
      }
      areas[ type ] = areaAt( image, type, begin );
      bool isBad = !areas[ type ] || std::any_of( areas.begin(), areas.begin() + type,
                                                  [ & ]( const std::optional< Area >& other ) {
                                                     return overlap( areas[ type ], other );
                                                  } );
      if ( isBad ) {
         return std::nullopt;
      }
   }
   return areas;
}

std::string decodeBinary( Bytes bytes ) {
   std::string text;
   for ( size_t i = 0; i < bytes.size(); ++i ) {
      text += fmt::format( "{:02x}", byteAt( bytes, i ) );
   }
   return text;
}

// Two characters a byte, the high half first.
std::string decodeBcdPlus( Bytes bytes ) {
   constexpr std::string_view kCharacters = "0123456789 -.???";
   std::string text;
   for ( size_t i = 0; i < bytes.size(); ++i ) {
      text += kCharacters[ byteAt( bytes, i ) >> 4 ];
      text += kCharacters[ byteAt( bytes, i ) & 0x0F ];
   }
   return text;
}

// Four characters from blank to underscore in three bytes, low bits first. Bits that are left over
// are no character.
std::string decodeSixBit( Bytes bytes ) {
   std::string text;
   uint32_t bits = 0;
   unsigned count = 0;
   for ( size_t i = 0; i < bytes.size(); ++i ) {
      bits |= uint32_t{ byteAt( bytes, i ) } << count;
      for ( count += 8; count >= 6; count -= 6, bits >>= 6 ) {
         text += static_cast< char >( ' ' + ( bits & 0x3F ) );
      }
   }
   return text;
}

std::string decodeLatin( Bytes bytes ) {
   std::string text;
   for ( size_t i = 0; i < bytes.size(); ++i ) {
      uint8_t character = byteAt( bytes, i );
      if ( character < 0x80 ) {
         text += static_cast< char >( character );
      } else {
         text += static_cast< char >( 0xC0 | character >> 6 );
         text += static_cast< char >( 0x80 | ( character & 0x3F ) );
      }
   }
   return text;
}

std::string decodeField( uint8_t type, Bytes bytes, bool isEnglish ) {
   switch ( type ) {
      case kBinary:
         return decodeBinary( bytes );
      case kBcdPlus:
         return decodeBcdPlus( bytes );
      case kSixBit:
         return decodeSixBit( bytes );
      default:
         return isEnglish ? decodeLatin( bytes ) : "";
   }
}

std::string withoutTail( std::string text ) {
   text.erase( text.find_last_not_of( std::string_view( " \0", 2 ) ) + 1 );
   return text;
}

// The fields of an info area in their order, those that are missing empty.
template < size_t kCount >
void readFields( Bytes area, size_t place, std::string* const ( &fields )[ kCount ] ) {
   bool isEnglish =
      std::ranges::find( kEnglish, byteAt( area, kLanguage ) ) != std::end( kEnglish );
   Bytes rest = area.substr( place, area.size() - place - 1 );  // without the checksum
   for ( std::string* field : fields ) {
      if ( rest.empty() || byteAt( rest, 0 ) == kEndOfFields ) {
         return;
      }
      uint8_t head = byteAt( rest, 0 );
      Bytes bytes = rest.substr( 1, head & kLengthMask );
      if ( !bytes.empty() ) {
         *field = withoutTail( decodeField( head >> kTypeShift, bytes, isEnglish ) );
      }
      rest.remove_prefix( 1 + bytes.size() );
   }
}

FruInformation readProduct( Bytes area ) {
   FruInformation unit;
   readFields( area, kProductFields,
               { &unit.manufacturer, &unit.productName, &unit.partNumber, &unit.version,
                 &unit.serialNumber, &unit.assetTag, &unit.fileId } );
   return unit;
}

FruInformation readBoard( Bytes area ) {
   FruInformation unit;
   readFields( area, kBoardFields,
               { &unit.manufacturer, &unit.productName, &unit.serialNumber, &unit.partNumber,
                 &unit.fileId } );
   uint32_t minutes = byteAt( area, kBoardDate ) | byteAt( area, kBoardDate + 1 ) << 8 |
                      byteAt( area, kBoardDate + 2 ) << 16;
   if ( minutes != 0 ) {
      unit.manufactured = minutes;
   }
   return unit;
}

}  // namespace

std::optional< FruInformation > FruInformation::decode( std::string_view image ) {
   std::optional< Areas > areas = findAreas( image );
   if ( !areas ) {
      return std::nullopt;
   }
   AreaType type = ( *areas )[ kProduct ] ? kProduct : kBoard;
   std::optional< Area > area = ( *areas )[ type ];
   if ( !area ) {
      return std::nullopt;
   }
   Bytes bytes = image.substr( area->begin, area->end - area->begin );
   if ( !isZeroSum( bytes ) ) {
      return std::nullopt;
   }
   return type == kProduct ? readProduct( bytes ) : readBoard( bytes );
}

std::chrono::sys_days FruInformation::dayOf( uint32_t count, std::chrono::sys_days today ) {
   using namespace std::chrono;
   constexpr sys_days kEpoch = year( 1996 ) / 1 / 1;
   constexpr std::chrono::minutes kRound( 1 << 24 );
   auto day = floor< days >( kEpoch + std::chrono::minutes( count ) );
   auto nextRound = floor< days >( kEpoch + kRound + std::chrono::minutes( count ) );
   return nextRound <= today ? nextRound : day;
}

}  // namespace Drivers
