#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "SmbusService/Emulator/JsonCursor.h"

namespace SmbusService::Emulator {

enum class FaultKind {
   kNak,       // no acknowledge
   kTimeout,   // the chip stretches the clock beyond the time limit
   kCorrupt,   // the answer arrives corrupt; transfers that read
   kShort,     // the answer breaks off; transfers that read
   kStuckMux,  // the channels stay as they are; writes to a mux
};

struct Fault {
   FaultKind kind;
   uint32_t count = 1;  // transfers that it strikes
   uint32_t skip = 0;   // transfers of its kind that it lets pass before
};

// From an object with "kind" (nak, timeout, corrupt, short or stuck-mux), "count" and "skip".
Fault readFault( const JsonCursor& );

// The faults waiting for one chip's next transfers.
class Faults {
 public:
   void add( const Fault& fault ) { faults_.push_back( fault ); }
   bool empty() const { return faults_.empty(); }
   const std::vector< Fault >& pending() const { return faults_; }

   // What strikes the transfer that begins now. The first of several faults goes first.
   std::optional< FaultKind > strike( bool reads, bool writesMux );

 private:
   std::vector< Fault > faults_;
};

}  // namespace SmbusService::Emulator
