#include "Utils/Json.h"

#include <rapidjson/encodings.h>
#include <rapidjson/error/en.h>
#include <rapidjson/prettywriter.h>
#include <rapidjson/reader.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

namespace Utils::Json {

namespace {

// Hands the parser's events on to the document, and stops the parser at the depth limit.
class DepthLimit {
 public:
   explicit DepthLimit( Document& document ) : document_( document ) {}

   bool Null() { return document_.Null(); }
   bool Bool( bool value ) { return document_.Bool( value ); }
   bool Int( int value ) { return document_.Int( value ); }
   bool Uint( unsigned value ) { return document_.Uint( value ); }
   bool Int64( int64_t value ) { return document_.Int64( value ); }
   bool Uint64( uint64_t value ) { return document_.Uint64( value ); }
   bool Double( double value ) { return document_.Double( value ); }
   bool RawNumber( const char* text, rapidjson::SizeType length, bool copy ) {
      return document_.RawNumber( text, length, copy );
   }
   bool String( const char* text, rapidjson::SizeType length, bool copy ) {
      return document_.String( text, length, copy );
   }
   bool Key( const char* text, rapidjson::SizeType length, bool copy ) {
      return document_.Key( text, length, copy );
   }
   bool StartObject() { return ++depth_ <= kMaxDepth && document_.StartObject(); }
   bool EndObject( rapidjson::SizeType count ) {
      --depth_;
      return document_.EndObject( count );
   }
   bool StartArray() { return ++depth_ <= kMaxDepth && document_.StartArray(); }
   bool EndArray( rapidjson::SizeType count ) {
      --depth_;
      return document_.EndArray( count );
   }

 private:
   Document& document_;
   unsigned depth_ = 0;
};

}  // namespace

std::optional< ParseError > parse( const char* text, Document& document ) {
   rapidjson::ParseResult result;
   auto generate = [ & ]( Document& events ) {
      rapidjson::StringStream stream( text );
      DepthLimit handler( events );
      rapidjson::Reader reader;
      result = reader.Parse( stream, handler );
      return !result.IsError();
   };
   document.Populate( generate );
   if ( result.IsError() ) {
      return ParseError{ rapidjson::GetParseError_En( result.Code() ), result.Offset(),
                         result.Code() == rapidjson::kParseErrorTermination };
   }
   return std::nullopt;
}

std::optional< std::string > tryWrite( const Value& value ) {
   rapidjson::StringBuffer buffer;
   rapidjson::Writer< rapidjson::StringBuffer, rapidjson::UTF8<>, rapidjson::ASCII<> > writer(
      buffer );
   if ( !value.Accept( writer ) ) {
      return std::nullopt;
   }
   return std::string( buffer.GetString(), buffer.GetSize() );
}

std::string write( const Value& value ) {
   auto text = tryWrite( value );
   LUMEN_ASSERT( text );
   return std::move( *text );
}

std::string writePretty( const Value& value ) {
   rapidjson::StringBuffer buffer;
   rapidjson::PrettyWriter< rapidjson::StringBuffer > writer( buffer );
   writer.SetIndent( ' ', 2 );
   writer.SetFormatOptions( rapidjson::kFormatSingleLineArray );
   value.Accept( writer );
   return std::string( buffer.GetString(), buffer.GetSize() );
}

}  // namespace Utils::Json
