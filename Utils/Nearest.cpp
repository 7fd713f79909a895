#include "Utils/Nearest.h"

#include <algorithm>
#include <array>

namespace Utils {

namespace {

constexpr size_t kMostMistakes = 3;
constexpr size_t kLettersForEach = 3;
constexpr size_t kLongestName = 64;  // nobody mistypes longer ones, and comparing takes its square

size_t bound( std::string_view a, std::string_view b ) {
   return std::min( std::max( a.size(), b.size() ) / kLettersForEach, kMostMistakes );
}

char lower( char c ) {
   return c >= 'A' && c <= 'Z' ? static_cast< char >( c - 'A' + 'a' ) : c;
}

bool matches( char a, char b ) {
   return lower( a ) == lower( b );
}

// Letters that are missing, added, changed, or swapped with their neighbour.
size_t mistakes( std::string_view a, std::string_view b ) {
   using Row = std::array< size_t, kLongestName + 1 >;
   Row beforeLast{};
   Row last{};
   for ( size_t j = 0; j <= b.size(); ++j ) {
      last[ j ] = j;
   }
   for ( size_t i = 1; i <= a.size(); ++i ) {
      Row row{ i };
      for ( size_t j = 1; j <= b.size(); ++j ) {
         size_t changed = last[ j - 1 ] + !matches( a[ i - 1 ], b[ j - 1 ] );
         row[ j ] = std::min( { last[ j ] + 1, row[ j - 1 ] + 1, changed } );
         if ( i > 1 && j > 1 && matches( a[ i - 1 ], b[ j - 2 ] ) &&
              matches( a[ i - 2 ], b[ j - 1 ] ) ) {
            row[ j ] = std::min( row[ j ], beforeLast[ j - 2 ] + 1 );
         }
      }
      beforeLast = last;
      last = row;
   }
   return last[ b.size() ];
}

}  // namespace

std::optional< std::string > nearest( std::string_view wanted,
                                      const std::vector< std::string >& names ) {
   const std::string* best = nullptr;
   size_t fewest = kMostMistakes + 1;
   for ( const std::string& name : names ) {
      auto [ shorter, longer ] = std::minmax( { wanted.size(), name.size() } );
      size_t most = bound( wanted, name );
      if ( longer > kLongestName || longer - shorter > most ) {
         continue;
      }
      size_t count = mistakes( wanted, name );
      if ( count <= most && count < fewest ) {
         fewest = count;
         best = &name;
      }
   }
   return best ? std::optional( *best ) : std::nullopt;
}

std::string didYouMean( std::string_view wanted, const std::vector< std::string >& names ) {
   auto name = nearest( wanted, names );
   return name ? "; did you mean \"" + *name + "\"?" : "";
}

}  // namespace Utils
