#include "SmbusService/Emulator/JsonCursor.h"

#include <fmt/format.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <system_error>

namespace SmbusService::Emulator {

namespace {

std::string readFile( const std::string& path ) {
   std::error_code error;
   std::ifstream stream( path, std::ios::binary );
   if ( !stream ) {
      error = std::error_code( errno, std::generic_category() );
   } else if ( std::filesystem::is_directory( path ) ) {
      error = std::make_error_code( std::errc::is_a_directory );
   }
   if ( error ) {
      throw std::runtime_error( fmt::format( "{}: {}", path, error.message() ) );
   }
   return { std::istreambuf_iterator< char >( stream ), {} };
}

std::string place( std::string_view text, size_t offset ) {
   std::string_view before = text.substr( 0, offset );
   auto line = std::count( before.begin(), before.end(), '\n' ) + 1;
   size_t column = before.size() - ( before.rfind( '\n' ) + 1 ) + 1;
   return fmt::format( "line {}, column {}", line, column );
}

std::string escape( const std::string& name ) {
   std::string token;
   for ( char character : name ) {
      token += character == '~' ? "~0" : character == '/' ? "~1" : std::string( 1, character );
   }
   return token;
}

}  // namespace

JsonFile::JsonFile( const std::string& path ) : JsonFile( path, readFile( path ) ) {}

JsonFile::JsonFile( std::string name, const std::string& text ) : name_( std::move( name ) ) {
   if ( auto error = Utils::Json::parse( text.c_str(), document_ ) ) {
      throw std::runtime_error(
         fmt::format( "{}: {}: {}", name_, place( text, error->offset ), error->message ) );
   }
}

JsonCursor::JsonCursor( const JsonCursor& parent,
                        std::string name,
                        const Utils::Json::Value& value )
    : file_( parent.file_ ),
      value_( &value ),
      pointer_( parent.pointer_ + "/" + escape( name ) ),
      name_( std::move( name ) ) {}

std::optional< JsonCursor > JsonCursor::find( const char* name ) const {
   expect( value_->IsObject(), "an object" );
   auto found = value_->FindMember( name );
   if ( found == value_->MemberEnd() || found->value.IsNull() ) {
      return std::nullopt;
   }
   return JsonCursor( *this, name, found->value );
}

JsonCursor JsonCursor::member( const char* name ) const {
   auto found = find( name );
   if ( !found ) {
      fail( fmt::format( "\"{}\" is missing", name ) );
   }
   return *found;
}

std::vector< JsonCursor > JsonCursor::elements() const {
   expect( value_->IsArray(), "an array" );
   std::vector< JsonCursor > result;
   for ( const auto& element : value_->GetArray() ) {
      result.push_back( JsonCursor( *this, std::to_string( result.size() ), element ) );
   }
   return result;
}

std::vector< JsonCursor > JsonCursor::elementsOf( const char* name ) const {
   auto found = find( name );
   return found ? found->elements() : std::vector< JsonCursor >();
}

std::vector< JsonCursor > JsonCursor::members() const {
   expect( value_->IsObject(), "an object" );
   std::vector< JsonCursor > result;
   for ( const auto& entry : value_->GetObject() ) {
      std::string name( entry.name.GetString(), entry.name.GetStringLength() );
      result.push_back( JsonCursor( *this, std::move( name ), entry.value ) );
   }
   return result;
}

uint32_t JsonCursor::asUint() const {
   expect( value_->IsUint(), "an unsigned integer" );
   return value_->GetUint();
}

uint32_t JsonCursor::asUint( uint32_t greatest ) const {
   uint32_t number = asUint();
   if ( number > greatest ) {
      fail( fmt::format( "must be at most {}", greatest ) );
   }
   return number;
}

int32_t JsonCursor::asInt() const {
   expect( value_->IsInt(), "an integer" );
   return value_->GetInt();
}

bool JsonCursor::asBool() const {
   expect( value_->IsBool(), "true or false" );
   return value_->GetBool();
}

double JsonCursor::asNumber() const {
   expect( value_->IsNumber(), "a number" );
   return value_->GetDouble();
}

std::string JsonCursor::asString() const {
   expect( value_->IsString(), "a text" );
   return std::string( value_->GetString(), value_->GetStringLength() );
}

void JsonCursor::expect( bool condition, const char* what ) const {
   if ( !condition ) {
      fail( fmt::format( "must be {}", what ) );
   }
}

void JsonCursor::fail( const std::string& problem ) const {
   throw std::runtime_error( pointer_.empty()
                                ? fmt::format( "{}: {}", file_->name(), problem )
                                : fmt::format( "{}: {}: {}", file_->name(), pointer_, problem ) );
}

}  // namespace SmbusService::Emulator
