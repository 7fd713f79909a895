#pragma once

#include "Utils/Assert.h"

// The one place that includes RapidJSON: its assertions are ours, in every build type.
#define RAPIDJSON_ASSERT( x ) LUMEN_ASSERT( x )
#include <rapidjson/document.h>

#include <array>
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
};

// Parses the whole text with RapidJSON's default flags into `document`.
std::optional< ParseError > parse( const char* text, Document& document );

// The members of an object with these names, null where there is none: one pass over the object,
// where each lookup by name would make its own.
template < size_t kCount >
std::array< const Value*, kCount > members( const Value& object,
                                            const std::string_view ( &names )[ kCount ] ) {
   std::array< const Value*, kCount > found{};
   for ( auto it = object.MemberBegin(); it != object.MemberEnd(); ++it ) {
      std::string_view name( it->name.GetString(), it->name.GetStringLength() );
      for ( size_t i = 0; i < kCount; ++i ) {
         if ( !found[ i ] && names[ i ] == name ) {
            found[ i ] = &it->value;
            break;
         }
      }
   }
   return found;
}

// Compact JSON, non-ASCII characters as \uXXXX.
std::string write( const Value& value );

// Indented JSON in UTF-8, for people.
std::string writePretty( const Value& value );

}  // namespace Utils::Json
