#pragma once

#include <map>
#include <memory>
#include <vector>

#include "BoardFiles/WireRecord.h"
#include "SmbusService/Emulator/EmulatedBoard.h"

namespace SmbusService {

// An emulated board whose reads are answered as a wire log recorded them: each in turn, then the
// last again and again. Writes, and reads that the log does not have, reach the emulated chips.
class Replay : public Backend {
 public:
   Replay( Emulator::EmulatedBoard& board, const std::vector< BoardFiles::WireRecord >& records );
   ~Replay() override;

   Adapter* findAdapter( const AdapterId& ) override;
   void keepLog( TransferLog& ) override;

 private:
   class ReplayAdapter;

   std::map< AdapterId, std::unique_ptr< ReplayAdapter > > adapters_;
};

}  // namespace SmbusService
