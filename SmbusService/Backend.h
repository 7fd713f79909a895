#pragma once

#include <atomic>
#include <chrono>
#include <functional>
#include <mutex>
#include <string>

#include "SmbusService/Muxes.h"
#include "SmbusService/Transfer.h"

namespace SmbusService {

class TransferLog;

// One SMBus master with the chips that it reaches. Whoever uses it, or the state of a chip behind
// it, holds `mutex`.
class Adapter {
 public:
   virtual ~Adapter() = default;

   // Executes one transfer, without the pauses that its address word asks for. Returns 0, or an
   // errno value: ENXIO when nothing acknowledged, ETIMEDOUT, EIO for an answer that broke off,
   // EPROTO for a corrupt one, EOPNOTSUPP for a transfer the adapter cannot do.
   //
   // On success of a transfer that reads, `answer` holds exactly the bytes read: as many as asked
   // for, or a block without its count. It may hold anything before and after a failure.
   virtual int transfer( const Transfer&, std::string& answer ) = 0;

   // Why the last transfer failed, where more is known than its errno value says.
   virtual std::string problem() const { return {}; }

   // How long a chip or a bus that does not go on can hold up the transfer, were it executed now.
   virtual std::chrono::milliseconds patience( const Transfer& transfer ) const {
      return transfer.address.busTimeout;
   }

   // Executes a transfer of the peer, keeps account of the muxes, reads back the control byte of
   // those that are to be verified, and tells the log. As transfer() otherwise.
   int execute( const Transfer&, std::string& answer, const Peer& );

   // Why the last execution failed, in words.
   std::string explain( int error ) const;

   std::timed_mutex mutex;
   std::atomic< uint64_t > client = 0;  // the one whose batch had the lock last
   Muxes muxes;
   TransferLog* log = nullptr;

 private:
   int perform( const Transfer&, std::string& answer, const Peer& );

   std::string mismatch_;  // of a control byte that was read back
};

// The adapters that a service serves. They stay as long as the backend.
class Backend {
 public:
   virtual ~Backend() = default;

   // Null when there is no such adapter. Called from several threads at once.
   virtual Adapter* findAdapter( const AdapterId& ) = 0;

   // Every transfer is told to the log, which outlives the backend. Before anybody is served.
   virtual void keepLog( TransferLog& ) {}

   // Tells each adapter what hangs behind it. Before anybody is served.
   void connectMuxes( const BoardFiles::Wiring& );
};

// One request of a batch, and the adapter that it is for.
struct Step {
   Transfer transfer;
   Adapter* adapter;
};

// Where a batch's trailing run of mux resets (send-byte 0) begins. It is executed even when a step
// before it fails.
size_t firstTrailingReset( const std::vector< Step >& );

}  // namespace SmbusService
