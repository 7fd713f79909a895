#include "Host/Documents.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "Host/Schemas.h"
#include "Utils/JsonSchema.h"

namespace Host {

namespace {

constexpr const char* kTopologySchema = "topology.schema.json";

std::string pathOf( const std::string& directory, const char* file ) {
   return std::filesystem::path( directory ) / file;
}

std::optional< std::string > readText( const std::string& path ) {
   std::ifstream file( path, std::ios::binary );
   std::string text( ( std::istreambuf_iterator< char >( file ) ), {} );
   return file ? std::optional( text ) : std::nullopt;
}

std::string place( const std::string& text, size_t offset ) {
   auto end = text.begin() + static_cast< ptrdiff_t >( std::min( offset, text.size() ) );
   auto line = std::count( text.begin(), end, '\n' ) + 1;
   auto lineStart = std::find( std::make_reverse_iterator( end ), text.rend(), '\n' ).base();
   return ":" + std::to_string( line ) + ":" + std::to_string( end - lineStart + 1 );
}

BoardFile readChecked( const std::string& path,
                       const Utils::Json::Schema& schema,
                       std::vector< Finding >& findings ) {
   BoardFile file{ .path = path };
   errno = 0;
   auto text = readText( path );
   if ( !text ) {
      findings.push_back( { path, "", errno ? strerror( errno ) : "cannot be read" } );
      return file;
   }
   file.text = std::move( *text );
   // The library takes C strings: it would not see what follows.
   if ( size_t end = file.text.find( '\0' ); end != std::string::npos ) {
      findings.push_back( { path + place( file.text, end ), "", "a zero byte" } );
      return file;
   }
   if ( auto error = Utils::Json::parse( file.text.c_str(), file.json ) ) {
      findings.push_back( { path + place( file.text, error->offset ), "", error->message } );
      return file;
   }
   auto violations = schema.validate( file.json );
   for ( Utils::Json::Violation& violation : violations ) {
      findings.push_back(
         { path, std::move( violation.pointer ), std::move( violation.problem ) } );
   }
   file.sound = violations.empty();
   return file;
}

}  // namespace

BoardFile readTopology( const std::string& directory, std::vector< Finding >& findings ) {
   static const Utils::Json::Schema schema( Schemas::kTopology );
   return readChecked( pathOf( directory, "topology.json" ), schema, findings );
}

BoardFile readObjects( const std::string& directory, std::vector< Finding >& findings ) {
   static const Utils::Json::Schema schema( Schemas::kObjects,
                                            { { kTopologySchema, Schemas::kTopology } } );
   return readChecked( pathOf( directory, "objects.json" ), schema, findings );
}

BoardFile readEmulation( const std::string& directory, std::vector< Finding >& findings ) {
   static const Utils::Json::Schema schema( Schemas::kEmulation );
   return readChecked( pathOf( directory, "emulation.json" ), schema, findings );
}

}  // namespace Host
