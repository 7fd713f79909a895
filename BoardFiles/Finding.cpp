#include "BoardFiles/Finding.h"

#include <algorithm>

#include "Utils/Text.h"

namespace BoardFiles {

namespace {

constexpr size_t kMostFindings = 100;  // in a text for people

}  // namespace

std::vector< std::string > linesOf( const std::vector< Finding >& findings ) {
   size_t count = std::min( findings.size(), kMostFindings );
   std::vector< std::string > lines;
   for ( size_t i = 0; i < count; ++i ) {
      lines.push_back( Utils::printable( findings[ i ].text() ) );
   }
   if ( count < findings.size() ) {
      lines.push_back( "... and " + std::to_string( findings.size() - count ) + " more" );
   }
   return lines;
}

}  // namespace BoardFiles
