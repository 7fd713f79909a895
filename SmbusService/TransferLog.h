#pragma once

#include <chrono>

#include "SmbusService/Muxes.h"
#include "SmbusService/Transfer.h"

namespace SmbusService {

// A transfer that was executed.
struct ExecutedTransfer {
   const Transfer& transfer;
   const std::string& answer;  // of meaning when it reads and `error` is 0
   int error;                  // errno value
   std::string problem;        // why it failed, in words
   const Peer& peer;
   std::vector< std::pair< uint8_t, uint8_t > > path;  // Muxes::openPath() when it began
   std::chrono::system_clock::time_point time;
   std::chrono::nanoseconds duration;
};

// Is told of each transfer, with the adapter's lock held. Thread safe.
class TransferLog {
 public:
   virtual ~TransferLog() = default;
   virtual void add( const ExecutedTransfer& ) = 0;
};

}  // namespace SmbusService
