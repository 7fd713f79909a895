#pragma once

#include "Utils/Assert.h"

// The one place that includes RapidJSON: its assertions are ours, in every build type.
#define RAPIDJSON_ASSERT( x ) LUMEN_ASSERT( x )
#include <rapidjson/document.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <optional>
#include <string>
#include <string_view>

namespace Utils::Json {

using Value = rapidjson::Value;
using Document = rapidjson::Document;

// Deeper nesting is refused as a parse failure.
constexpr unsigned kMaxDepth = 256;

struct ParseError {
   const char* message;  // English, static
   size_t offset;        // bytes from the start of the text
   bool isTooDeep;
};

// Parses the whole text with RapidJSON's default flags into `document`.
std::optional< ParseError > parse( const char* text, Document& document );

// A member's name as a template argument, so that comparing with it needs no call.
template < size_t kSize >
struct Name {
   constexpr Name( const char ( &literal )[ kSize ] ) { std::copy_n( literal, kSize, text ); }

   bool operator==( std::string_view other ) const {
      return other.size() == kSize - 1 && memcmp( other.data(), text, kSize - 1 ) == 0;
   }

   char text[ kSize ];
};

// The members of an object with these names, null where there is none: one pass over the object,
// where each lookup by name would make its own. Of members with the same name it finds the first.
template < Name... kNames >
std::array< const Value*, sizeof...( kNames ) > members( const Value& object ) {
   std::array< const Value*, sizeof...( kNames ) > found{};
   for ( auto it = object.MemberBegin(); it != object.MemberEnd(); ++it ) {
      std::string_view name( it->name.GetString(), it->name.GetStringLength() );
      size_t place = 0;
      bool wanted = ( ( kNames == name || ( ++place, false ) ) || ... );
      if ( wanted && !found[ place ] ) {
         found[ place ] = &it->value;
      }
   }
   return found;
}

// Compact JSON, non-ASCII characters as \uXXXX; nothing when a text in it is no UTF-8.
std::optional< std::string > tryWrite( const Value& value );

// The same for what is known to be UTF-8.
std::string write( const Value& value );

// Indented JSON in UTF-8, for people.
std::string writePretty( const Value& value );

}  // namespace Utils::Json
