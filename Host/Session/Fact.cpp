#include "Host/Session/Fact.h"

#include <fmt/format.h>

#include <charconv>
#include <cstdlib>
#include <cstring>

namespace Host {

namespace {

constexpr size_t kLongestText = 12 * 1024;  // two of them fit a worker's message

// Texts behind one another, each behind its length: "5:rotor0:".
void put( std::string& all, std::string_view text ) {
   all += fmt::format( "{}:{}", text.size(), text );
}

// Nothing where the text ends too early.
std::optional< std::string > take( std::string_view& all ) {
   size_t length = 0;
   auto [ end, error ] = std::from_chars( all.data(), all.data() + all.size(), length );
   auto begin = static_cast< size_t >( end - all.data() ) + 1;
   if ( error != std::errc() || begin > all.size() || length > all.size() - begin ) {
      return std::nullopt;
   }
   std::string text( all.substr( begin, length ) );
   all.remove_prefix( begin + length );
   return text;
}

Fact factOf( const std::vector< std::string >& parts ) {
   Fact fact{ parts[ 0 ], parts[ 1 ] };
   fact.reading.status = static_cast< pl_status >( strtol( parts[ 2 ].c_str(), nullptr, 10 ) );
   if ( !parts[ 3 ].empty() ) {
      double value = 0;
      std::from_chars( parts[ 3 ].data(), parts[ 3 ].data() + parts[ 3 ].size(), value );
      fact.reading.value = value;
   }
   fact.reading.text = parts[ 4 ];
   if ( parts[ 5 ].size() == sizeof( pl_service_failure ) ) {
      RequestFailure failure{ .details = {}, .words = parts[ 6 ] };
      memcpy( &failure.details, parts[ 5 ].data(), sizeof failure.details );
      fact.failure = failure;
   }
   return fact;
}

constexpr size_t kParts = 7;  // of a fact

}  // namespace

void putFact( std::string& all, const Fact& fact ) {
   const auto& [ status, value, text ] = fact.reading;
   put( all, fact.label );
   put( all, fact.unit );
   put( all, std::to_string( status ) );
   put( all, value ? fmt::format( "{}", *value ) : "" );
   put( all, std::string_view( text ).substr( 0, kLongestText ) );
   put( all, fact.failure
                ? std::string_view( reinterpret_cast< const char* >( &fact.failure->details ),
                                    sizeof fact.failure->details )
                : "" );
   put( all, fact.failure ? fact.failure->words : "" );
}

std::vector< Fact > factsIn( std::string_view text ) {
   std::vector< Fact > facts;
   std::vector< std::string > parts;
   while ( auto part = take( text ) ) {
      parts.push_back( *part );
      if ( parts.size() == kParts ) {
         facts.push_back( factOf( parts ) );
         parts.clear();
      }
   }
   return facts;
}

}  // namespace Host
