#include "BoardFiles/Documents.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <system_error>

#include "BoardFiles/Place.h"
#include "BoardFiles/Schema.h"
#include "BoardFiles/Schemas.h"
#include "Utils/Text.h"

namespace BoardFiles {

namespace {

constexpr const char* kTopologySchema = "topology.schema.json";

std::string pathOf( const std::string& directory, const char* file ) {
   return std::filesystem::path( directory ) / file;
}

// Puts the file's text in `text`; returns why it cannot, or nothing.
std::string readText( const std::string& path, std::string& text ) {
   std::error_code error;
   auto status = std::filesystem::status( path, error );
   if ( error ) {
      return error.message();
   }
   if ( !std::filesystem::is_regular_file( status ) ) {
      return "is no file";
   }
   errno = 0;
   std::ifstream file( path, std::ios::binary );
   text.assign( std::istreambuf_iterator< char >( file ), {} );
   return file ? "" : errno ? strerror( errno ) : "cannot be read";
}

// What the text would do to the library or to a terminal: C strings end at a zero byte, and JSON is
// UTF-8.
std::optional< std::pair< size_t, const char* > > findBadByte( const std::string& text ) {
   size_t zero = text.find( '\0' );
   size_t invalid = Utils::findInvalid( text );
   if ( zero == std::string::npos && invalid == std::string::npos ) {
      return std::nullopt;
   }
   return zero < invalid ? std::pair( zero, "a zero byte" ) : std::pair( invalid, "no UTF-8" );
}

std::string wordsFor( const Utils::Json::ParseError& error, const std::string& text ) {
   if ( error.isTooDeep ) {
      return "nested deeper than " + std::to_string( Utils::Json::kMaxDepth ) + " levels";
   }
   bool hasMark = error.offset == 0 && text.starts_with( "\uFEFF" );
   return hasMark ? "a byte order mark, which JSON does not have" : error.message;
}

BoardFile readChecked( const std::string& path,
                       const Schema& schema,
                       std::vector< Finding >& findings ) {
   BoardFile file{ .path = path };
   if ( auto problem = readText( path, file.text ); !problem.empty() ) {
      findings.push_back( { path, "", problem } );
      return file;
   }
   if ( auto bad = findBadByte( file.text ) ) {
      findings.push_back( { path + lineAndColumn( file.text, bad->first ), "", bad->second } );
      return file;
   }
   if ( auto error = Utils::Json::parse( file.text.c_str(), file.json ) ) {
      findings.push_back(
         { path + lineAndColumn( file.text, error->offset ), "", wordsFor( *error, file.text ) } );
      return file;
   }
   auto violations = schema.validate( file.json );
   for ( Violation& violation : violations ) {
      findings.push_back(
         { path, std::move( violation.pointer ), std::move( violation.problem ) } );
   }
   file.sound = violations.empty();
   return file;
}

}  // namespace

BoardFile readTopology( const std::string& directory, std::vector< Finding >& findings ) {
   static const Schema schema( Schemas::kTopology );
   return readChecked( pathOf( directory, "topology.json" ), schema, findings );
}

BoardFile readObjects( const std::string& directory, std::vector< Finding >& findings ) {
   static const Schema schema( Schemas::kObjects, { { kTopologySchema, Schemas::kTopology } } );
   return readChecked( pathOf( directory, "objects.json" ), schema, findings );
}

BoardFile readEmulation( const std::string& directory, std::vector< Finding >& findings ) {
   static const Schema schema( Schemas::kEmulation );
   return readChecked( pathOf( directory, "emulation.json" ), schema, findings );
}

}  // namespace BoardFiles
