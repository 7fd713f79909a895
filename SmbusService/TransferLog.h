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
   const Peer& peer;
   const Muxes& muxes;  // as they stand after it
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
