#pragma once

#include <string>
#include <vector>

namespace Bench {

// One measured quantity beside its limit, both in the same unit.
struct Row {
   std::string what;
   double value;
   std::string limitedBy;
   double limit;
   std::string unit;
   double goal;  // the largest ratio of value to limit
};

class Report {
 public:
   void add( Row row );

   void printTable() const;
   // False when the file cannot be written.
   bool writeJson( const std::string& file ) const;

 private:
   std::vector< Row > rows_;
};

}  // namespace Bench
