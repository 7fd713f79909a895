#include "Host/Output/JsonObject.h"

#include <fmt/format.h>

#include "Utils/Numbers.h"
#include "Utils/Text.h"

namespace Host {

std::string numberText( double value ) {
   return fmt::format( "{}", static_cast< float >( value ) );
}

void JsonObject::add( const char* name, Value&& value ) {
   value_.AddMember( rapidjson::StringRef( name ), value, allocator_ );
}

void JsonObject::add( const char* name, std::string_view text ) {
   add( name, Value( Utils::printable( text ).c_str(), allocator_ ) );
}

void JsonObject::addIfAny( const char* name, std::string_view text ) {
   text.empty() ? add( name, Value() ) : add( name, text );
}

void JsonObject::add( const char* name, const std::optional< double >& number ) {
   add( name, number ? Value( Utils::stod( numberText( *number ) ) ) : Value() );
}

void JsonObject::addLines( const char* name, std::string_view text ) {
   add( name, Value( Utils::printableLines( text ).c_str(), allocator_ ) );
}

}  // namespace Host
