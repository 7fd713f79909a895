#pragma once

#include <mutex>
#include <string>

#include "SmbusService/Transfer.h"

namespace SmbusService {

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

   std::mutex mutex;
};

// The adapters that a service serves. They stay as long as the backend.
class Backend {
 public:
   virtual ~Backend() = default;

   // Null when there is no such adapter. Called from several threads at once.
   virtual Adapter* findAdapter( const AdapterId& ) = 0;
};

}  // namespace SmbusService
