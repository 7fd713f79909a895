#include "BoardFiles/Documents.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <set>
#include <string_view>

#include "BoardFiles/Place.h"
#include "BoardFiles/Schema.h"
#include "BoardFiles/Schemas.h"
#include "Utils/Text.h"

namespace BoardFiles {

namespace {

constexpr size_t kChunk = 65536;
constexpr size_t kMebibyte = 1 << 20;
constexpr size_t kMostBytes = 64 * kMebibyte;

// Until the file's end, or the place that a document never reaches.
std::string readAll( int descriptor, std::string& text ) {
   char chunk[ kChunk ];
   for ( ;; ) {
      ssize_t count = read( descriptor, chunk, sizeof chunk );
      if ( count <= 0 ) {
         return count < 0 ? strerror( errno ) : "";
      }
      text.append( chunk, static_cast< size_t >( count ) );
      if ( text.size() > kMostBytes ) {
         return fmt::format( "is larger than {} MiB", kMostBytes / kMebibyte );
      }
   }
}

// Puts the file's text in `text`; returns why it cannot, or nothing. What is opened is what is
// judged: nothing else can take its place between, and a pipe nobody writes to is not waited for.
std::string readText( const std::string& path, std::string& text ) {
   int descriptor = open( path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK );
   if ( descriptor < 0 ) {
      return strerror( errno );
   }
   struct stat status {};
   std::string problem = fstat( descriptor, &status ) < 0 ? strerror( errno )
                         : !S_ISREG( status.st_mode )     ? "is no file"
                                                          : readAll( descriptor, text );
   close( descriptor );
   return problem;
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

bool hasZero( std::string_view text ) {
   return text.find( '\0' ) != std::string_view::npos;
}

// Members that an object has twice: readers differ in which of them counts. Texts in which C
// strings would end.
void addAmbiguous( const Value& value,
                   const std::string& pointer,
                   std::vector< Violation >& found ) {
   if ( value.IsArray() ) {
      for ( rapidjson::SizeType i = 0; i < value.Size(); ++i ) {
         addAmbiguous( value[ i ], pointer + "/" + std::to_string( i ), found );
      }
   }
   if ( value.IsString() && hasZero( { value.GetString(), value.GetStringLength() } ) ) {
      found.push_back( { pointer, "holds \\u0000, at which the text would end" } );
   }
   if ( !value.IsObject() ) {
      return;
   }
   std::set< std::string_view > names;
   for ( const auto& member : value.GetObject() ) {
      std::string_view name( member.name.GetString(), member.name.GetStringLength() );
      std::string place = pointer + pointerToken( std::string( name ) );
      if ( !names.insert( name ).second ) {
         found.push_back( { place, "is there twice" } );
      }
      if ( hasZero( name ) ) {
         found.push_back( { place, "has a name that holds \\u0000" } );
      }
      addAmbiguous( member.value, place, found );
   }
}

// Makes the file's text its JSON.
void check( BoardFile& file, const Schema& schema, std::vector< Finding >& findings ) {
   auto reportAt = [ & ]( size_t offset, const std::string& problem ) {
      findings.push_back( { file.path + lineAndColumn( file.text, offset ), "", problem } );
   };
   if ( auto bad = findBadByte( file.text ) ) {
      return reportAt( bad->first, bad->second );
   }
   if ( auto error = Utils::Json::parse( file.text.c_str(), file.json ) ) {
      return reportAt( error->offset, wordsFor( *error, file.text ) );
   }
   auto violations = schema.validate( file.json );
   addAmbiguous( file.json, "", violations );
   for ( Violation& violation : violations ) {
      findings.push_back(
         { file.path, std::move( violation.pointer ), std::move( violation.problem ) } );
   }
   file.sound = violations.empty();
}

BoardFile readFile( const std::string& directory,
                    const char* name,
                    const Schema& schema,
                    std::vector< Finding >& findings ) {
   BoardFile file{ .path = std::filesystem::path( directory ) / name };
   if ( auto problem = readText( file.path, file.text ); !problem.empty() ) {
      findings.push_back( { file.path, "", problem } );
   } else {
      check( file, schema, findings );
   }
   return file;
}

}  // namespace

BoardFile readTopology( const std::string& directory, std::vector< Finding >& findings ) {
   static const Schema schema( Schemas::kTopology );
   return readFile( directory, "topology.json", schema, findings );
}

BoardFile readObjects( const std::string& directory, std::vector< Finding >& findings ) {
   static const Schema schema( Schemas::kObjects,
                               { { "topology.schema.json", Schemas::kTopology } } );
   return readFile( directory, "objects.json", schema, findings );
}

BoardFile readEmulation( const std::string& directory, std::vector< Finding >& findings ) {
   static const Schema schema( Schemas::kEmulation );
   return readFile( directory, "emulation.json", schema, findings );
}

BoardFile readAdapters( const std::string& directory, std::vector< Finding >& findings ) {
   static const Schema schema( Schemas::kAdapters );
   return readFile( directory, "adapters.json", schema, findings );
}

BoardFile readPolicy( const std::string& path, std::vector< Finding >& findings ) {
   static const Schema schema( Schemas::kPolicy );
   return readFile( "", path.c_str(), schema, findings );
}

BoardFile readWireLine( std::string place, std::string text, std::vector< Finding >& findings ) {
   static const Schema schema( Schemas::kWireLog );
   BoardFile line{ .path = std::move( place ), .text = std::move( text ) };
   check( line, schema, findings );
   return line;
}

BoardFile readControlRequest( std::string text, std::vector< Finding >& findings ) {
   static const Schema schema( Schemas::kControl,
                               { { "emulation.schema.json", Schemas::kEmulation } } );
   BoardFile request{ .path = "request", .text = std::move( text ) };
   check( request, schema, findings );
   return request;
}

BoardFile readControlAnswer( std::string text, std::vector< Finding >& findings ) {
   static const Schema schema( Schemas::kControlAnswer );
   BoardFile answer{ .path = "answer", .text = std::move( text ) };
   check( answer, schema, findings );
   return answer;
}

}  // namespace BoardFiles
