#pragma once

#include <optional>
#include <vector>

#include "BoardFiles/ChipSpec.h"

namespace SmbusService::Emulator {

using BoardFiles::Fault;
using BoardFiles::FaultKind;

// The faults waiting for one chip's next transfers.
class Faults {
 public:
   void add( const Fault& fault ) { faults_.push_back( fault ); }
   void clear() { faults_.clear(); }
   bool empty() const { return faults_.empty(); }
   const std::vector< Fault >& pending() const { return faults_; }

   // What strikes the transfer that begins now. The first of several faults goes first.
   std::optional< FaultKind > strike( bool reads, bool writesMux );

 private:
   std::vector< Fault > faults_;
};

}  // namespace SmbusService::Emulator
