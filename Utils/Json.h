#pragma once

#include "Utils/Assert.h"

// The one place that includes RapidJSON: its assertions are ours, in every build type.
#define RAPIDJSON_ASSERT( x ) LUMEN_ASSERT( x )
#include <rapidjson/document.h>

#include <optional>
#include <string>

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

// Compact JSON, non-ASCII characters as \uXXXX.
std::string write( const Value& value );

// Indented JSON in UTF-8, for people.
std::string writePretty( const Value& value );

}  // namespace Utils::Json
