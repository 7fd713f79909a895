#pragma once

#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace BoardFiles {

// A mistake in one of a board's documents.
struct Finding {
   std::string file;     // path, with ":LINE:COLUMN" where no JSON; "" when the problem names it
   std::string pointer;  // JSON pointer, "" for the whole document
   std::string problem;
   bool isWarning = false;  // the board can be used all the same

   std::string text() const {
      return ( file.empty() ? "" : file + ": " ) + ( pointer.empty() ? "" : pointer + ": " ) +
             ( isWarning ? "warning: " : "" ) + problem;
   }
};

// A line for each of the first findings, and how many more there are.
std::vector< std::string > linesOf( const std::vector< Finding >& findings );

class BoardError : public std::runtime_error {
 public:
   explicit BoardError( std::vector< Finding > list )
       : std::runtime_error( "the board's documents have mistakes" ),
         findings( std::move( list ) ) {}

   std::vector< Finding > findings;
};

}  // namespace BoardFiles
