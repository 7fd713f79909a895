#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Utils/Json.h"

namespace Host {

using Utils::Json::Value;

// The shortest text that names the value that was read, which is a float.
std::string numberText( double value );

// A JSON object under construction. Names must be literals.
class JsonObject {
 public:
   using Allocator = Utils::Json::Document::AllocatorType;

   explicit JsonObject( Allocator& allocator )
       : value_( rapidjson::kObjectType ), allocator_( allocator ) {}

   void add( const char* name, Value&& value );
   void add( const char* name, std::string_view text );
   void addIfAny( const char* name, std::string_view text );
   void add( const char* name, const std::optional< double >& number );

   // Its lines stay apart.
   void addLines( const char* name, std::string_view text );

   Value& value() { return value_; }

   // The document that it is: indented for people, or on one line.
   std::string text() const { return Utils::Json::writePretty( value_ ) + "\n"; }
   std::string line() const { return Utils::Json::write( value_ ) + "\n"; }

 private:
   Value value_;
   Allocator& allocator_;
};

template < typename Element, typename Convert >
Value arrayJson( const std::vector< Element >& elements,
                 JsonObject::Allocator& allocator,
                 Convert convert ) {
   Value array( rapidjson::kArrayType );
   for ( const Element& element : elements ) {
      array.PushBack( convert( element, allocator ), allocator );
   }
   return array;
}

}  // namespace Host
