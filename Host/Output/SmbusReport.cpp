#include "Host/Output/SmbusReport.h"

#include <fmt/format.h>

#include <algorithm>

#include "Host/Output/JsonDocument.h"
#include "Host/Output/Report.h"

namespace Host {

namespace {

constexpr size_t kLine = 16;  // bytes

uint8_t byteAt( std::string_view bytes, size_t place ) {
   return static_cast< uint8_t >( bytes[ place ] );
}

unsigned wordOf( std::string_view bytes ) {
   return byteAt( bytes, 0 ) + byteAt( bytes, 1 ) * 0x100u;
}

bool isWord( std::string_view bytes, Answer form ) {
   return form == Answer::Word && bytes.size() == 2;
}

Value bytesJson( std::string_view bytes, JsonObject::Allocator& allocator ) {
   Value array( rapidjson::kArrayType );
   for ( size_t i = 0; i < bytes.size(); ++i ) {
      array.PushBack( Value( unsigned{ byteAt( bytes, i ) } ), allocator );
   }
   return array;
}

}  // namespace

std::string answerText( std::string_view bytes, Answer form ) {
   if ( isWord( bytes, form ) ) {
      return fmt::format( "0x{:04x}", wordOf( bytes ) );
   }
   std::string text;
   for ( size_t i = 0; i < bytes.size(); ++i ) {
      text += fmt::format( "{}0x{:02x}", i ? " " : "", byteAt( bytes, i ) );
   }
   return text;
}

std::string hexDump( std::string_view bytes ) {
   std::string text;
   for ( size_t offset = 0; offset < bytes.size(); offset += kLine ) {
      std::string_view line = bytes.substr( offset, kLine );
      std::string numbers;
      std::string characters;
      for ( size_t i = 0; i < line.size(); ++i ) {
         numbers += fmt::format( "{}{:02x} ", i == kLine / 2 ? " " : "", byteAt( line, i ) );
         characters += line[ i ] >= ' ' && line[ i ] <= '~' ? line[ i ] : '.';
      }
      text += fmt::format( "{:04x}  {:{}}  {}\n", offset, numbers, 3 * kLine + 1, characters );
   }
   return text;
}

std::string smbusJson( const std::string& board,
                       const std::string& operation,
                       const Observation& endpoint,
                       Answer form ) {
   bool ok = endpoint.state == State::Ok;
   const std::string& bytes = endpoint.text;
   JsonObject::Allocator allocator;
   JsonObject json = beginDocument( board, allocator );
   json.add( "object", endpoint.object->name );
   json.add( "operation", operation );
   json.add( "answer", ok ? bytesJson( bytes, allocator ) : Value() );
   json.add( "word", ok && isWord( bytes, form ) ? Value( wordOf( bytes ) ) : Value() );
   json.add( "state", std::string_view( stateName( endpoint.state ) ) );
   json.addIfAny( "error", ok ? "" : problemText( endpoint ) );
   json.add( "ok", Value( ok ) );
   return json.text();
}

}  // namespace Host
