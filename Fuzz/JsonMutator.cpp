#include <algorithm>
#include <cctype>
#include <cstdint>
#include <random>
#include <string>
#include <string_view>
#include <vector>

// Changes of bytes alone make no JSON of JSON: most changes put one value in another's place.

extern "C" size_t LLVMFuzzerMutate( uint8_t* data, size_t size, size_t most );

namespace {

const std::vector< std::string_view > kValues = {
   "0",    "-1",   "1",    "255", "256", "65536", "2147483648", "4294967296", "1e30",
   "0.25", "null", "true", "[]",  "{}",  R"("")", R"("3x")",    R"("\u0000")" };

// Strings, keys among them, numbers and words.
std::vector< std::string_view > scalarsIn( std::string_view text ) {
   std::vector< std::string_view > scalars;
   auto isPlain = []( char c ) { return isalnum( static_cast< uint8_t >( c ) ) || c == '-'; };
   for ( auto at = text.begin(); at != text.end(); ) {
      auto end = std::find_if_not( at, text.end(), isPlain );
      if ( *at == '"' ) {
         end = std::find( at + 1, text.end(), '"' );
         end += end != text.end();
      }
      if ( end != at ) {
         scalars.emplace_back( at, end );
      }
      at = std::max( end, at + 1 );
   }
   return scalars;
}

}  // namespace

extern "C" size_t LLVMFuzzerCustomMutator( uint8_t* data,
                                           size_t size,
                                           size_t most,
                                           unsigned seed ) {
   std::minstd_rand random( seed );
   auto oneOf = [ & ]( const auto& list ) { return list[ random() % list.size() ]; };
   std::string_view text( reinterpret_cast< char* >( data ), size );
   auto scalars = scalarsIn( text );
   if ( scalars.empty() || random() % 4 == 0 ) {
      return LLVMFuzzerMutate( data, size, most );
   }
   std::string_view old = oneOf( scalars );
   std::string mutant( text.begin(), old.begin() );
   mutant += random() % 2 ? oneOf( scalars ) : oneOf( kValues );
   mutant.append( old.end(), text.end() );
   mutant.resize( std::min( mutant.size(), most ) );
   std::ranges::copy( mutant, data );
   return mutant.size();
}
