#pragma once

#include <deque>
#include <memory>
#include <string>
#include <vector>

#include "SmbusService/Backend.h"
#include "SmbusService/Emulator/Chip.h"
#include "SmbusService/Emulator/Faults.h"
#include "SmbusService/Emulator/WireTime.h"

namespace SmbusService::Emulator {

struct Site;

// Chips that hang on the same two wires.
struct Segment {
   std::vector< Site* > sites;
};

// A bus behind a mux, reached while all bits of `value` are set in the mux's control byte; never
// when it has none.
struct Channel {
   uint8_t value;
   const Segment* segment;
};

// A chip in its place.
struct Site {
   uint32_t did;
   uint8_t address;
   std::string model;
   std::unique_ptr< Chip > chip;
   bool isPlugged = true;
   Faults faults;
   const MuxChip* mux = nullptr;  // the chip, if it is one
   std::vector< Channel > channels;
};

// An emulated adapter: a root segment and all that its muxes lead to.
class Bus : public Adapter {
 public:
   Segment& root() { return root_; }
   Segment& newSegment() { return segments_.emplace_back(); }

   // From now on transfers take the time that they take on a wire; with 0 they take none, which is
   // how a bus begins.
   void bitRateIs( unsigned bitsPerSecond ) { clock_ = WireClock( bitsPerSecond ); }

   int transfer( const Transfer&, std::string& answer ) override;
   std::chrono::milliseconds patience( const Transfer& ) const override;

 private:
   int perform( const Transfer&, std::string& answer );
   void route( const Segment&, uint8_t address );
   int strikeFaults( const Transfer& );
   int move( const Transfer&, std::string& answer );
   bool start( Direction );
   bool write( uint8_t byte );
   uint8_t read();
   bool writeAll( const Transfer& );
   int readAll( const Transfer&, std::string& answer );

   Segment root_;
   WireClock clock_{ 0 };
   std::deque< Segment > segments_;
   std::vector< Site* > answering_;  // chips that take part in the transfer
   int failure_ = 0;                 // of an answer that the chips gave all the same
   bool isStuck_ = false;            // a mux acknowledges, and ignores, what is written
};

}  // namespace SmbusService::Emulator
