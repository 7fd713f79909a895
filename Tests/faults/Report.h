#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <list>
#include <string>

namespace Tests::Faults {

// What became of readings; may lie in memory that processes share.
struct Tally {
   std::atomic< uint32_t > right = 0;
   std::atomic< uint32_t > errors = 0;
   std::atomic< uint32_t > wrong = 0;    // another sensor's value, or an output touched in vain
   std::atomic< uint32_t > longest = 0;  // ms

   uint32_t tried() const { return right + errors + wrong; }
   void add( const Tally& other );
};

// One kind of fault.
struct Row {
   explicit Row( std::string kind ) : what( std::move( kind ) ) {}

   void require( bool condition, const std::string& otherwise );
   // No reading is wrong, and none takes longer than its time limit.
   void judge();

   std::string what;
   unsigned faults = 0;
   Tally tally;
   std::string problem;  // the first one
   std::chrono::steady_clock::time_point start = std::chrono::steady_clock::now();
   double seconds = 0;  // until it was judged
};

// Rows are printed once the next one begins.
class Report {
 public:
   Report();

   Row& add( const std::string& what );
   // True when no row has a problem.
   bool end();

 private:
   void printLast() const;

   std::list< Row > rows_;
};

}  // namespace Tests::Faults
