#include "BoardFiles/SchemaProblem.h"

#include <string_view>
#include <vector>

namespace BoardFiles {

using Utils::Json::Value;
using Utils::Json::write;

namespace {

const char* typeName( const Value& value ) {
   switch ( value.GetType() ) {
      case rapidjson::kNullType:
         return "null";
      case rapidjson::kFalseType:
      case rapidjson::kTrueType:
         return "a boolean";
      case rapidjson::kObjectType:
         return "an object";
      case rapidjson::kArrayType:
         return "an array";
      case rapidjson::kStringType:
         return "a string";
      default:
         return value.IsDouble() ? "a fraction" : "an integer";
   }
}

std::string withArticle( std::string_view type ) {
   if ( type == "null" ) {
      return "null";
   }
   bool vowel = type.starts_with( "a" ) || type.starts_with( "i" ) || type.starts_with( "o" );
   return std::string( vowel ? "an " : "a " ).append( type );
}

std::string alternatives( const std::vector< std::string >& words ) {
   std::string text;
   for ( size_t i = 0; i < words.size(); ++i ) {
      text += i == 0 ? "" : i + 1 == words.size() ? " or " : ", ";
      text += words[ i ];
   }
   return text;
}

// A schema names one type or an array of types.
std::string wrongType( const Value& value, const Value& type ) {
   std::vector< std::string > wanted;
   if ( type.IsString() ) {
      wanted.push_back( withArticle( type.GetString() ) );
   } else {
      for ( const Value& name : type.GetArray() ) {
         wanted.push_back( withArticle( name.GetString() ) );
      }
   }
   return "must be " + alternatives( wanted ) + ", not " + typeName( value );
}

std::string notListed( const Value& value, const Value& list ) {
   std::vector< std::string > wanted;
   for ( const Value& choice : list.GetArray() ) {
      wanted.push_back( write( choice ) );
   }
   return "must be " + alternatives( wanted ) + ", not " + write( value );
}

}  // namespace

std::string schemaProblem( const std::string& keyword, const Value& value, const Value& schema ) {
   auto member = schema.FindMember( keyword.c_str() );
   const Value* rule = member == schema.MemberEnd() ? nullptr : &member->value;
   if ( rule && keyword == "type" ) {
      return wrongType( value, *rule );
   }
   if ( rule && keyword == "enum" ) {
      return notListed( value, *rule );
   }
   if ( rule && keyword == "minimum" ) {
      return "must be at least " + write( *rule );
   }
   if ( rule && keyword == "maximum" ) {
      return "must be at most " + write( *rule );
   }
   if ( keyword == "minLength" || keyword == "minItems" ) {
      return "must not be empty";
   }
   return "does not satisfy \"" + keyword + "\"";
}

}  // namespace BoardFiles
