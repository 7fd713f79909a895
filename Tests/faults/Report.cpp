#include "Tests/faults/Report.h"

#include <fmt/format.h>

#include <algorithm>

#include "Tests/faults/Sensors.h"

namespace Tests::Faults {

namespace {

constexpr unsigned kSlack = 3000;  // ms, for a busy machine

}  // namespace

void Tally::add( const Tally& other ) {
   right += other.right;
   errors += other.errors;
   wrong += other.wrong;
   longest = std::max< uint32_t >( longest, other.longest );
}

void Row::require( bool condition, const std::string& otherwise ) {
   if ( !condition && problem.empty() ) {
      problem = otherwise;
   }
}

void Row::judge() {
   seconds = std::chrono::duration< double >( std::chrono::steady_clock::now() - start ).count();
   require( tally.wrong == 0, "wrong readings" );
   require( tally.right > 0, "nothing was read" );
   require( tally.longest < timeLimit() + kSlack, "a reading took too long" );
}

Report::Report() {
   fmt::print( "{:<56} {:>6} {:>9} {:>9} {:>6} {:>8} {:>7}\n", "fault", "faults", "right", "errors",
               "wrong", "max ms", "s" );
}

Row& Report::add( const std::string& what ) {
   printLast();
   return rows_.emplace_back( what );
}

bool Report::end() {
   printLast();
   return std::ranges::all_of( rows_, &std::string::empty, &Row::problem );
}

void Report::printLast() const {
   if ( rows_.empty() ) {
      return;
   }
   const Row& row = rows_.back();
   fmt::print( "{:<56} {:>6} {:>9} {:>9} {:>6} {:>8} {:>7.1f}  {}\n", row.what, row.faults,
               row.tally.right.load(), row.tally.errors.load(), row.tally.wrong.load(),
               row.tally.longest.load(), row.seconds, row.problem );
   fflush( stdout );
}

}  // namespace Tests::Faults
