#pragma once

#include <optional>
#include <string>
#include <vector>

#include "SmbusService/Backend.h"
#include "SmbusService/Peer.h"

namespace SmbusService {

// A request that a client may not make.
struct Refusal {
   size_t request;   // its position in the batch
   std::string why;  // names the rule that decided, for the client
};

// The channels that a batch is judged with: those that are open, or those that will be once
// Muxes::settle() has closed what the client must not find open.
enum class Found { kNow, kOnceSettled };

// Decides what a client may do.
class Access {
 public:
   virtual ~Access() = default;

   // The first request of the batch that the client may not make. All adapters of the steps are
   // locked; their muxes tell which channels are open before the first step. Thread safe.
   virtual std::optional< Refusal > judge( const Peer&,
                                           const std::vector< Step >&,
                                           Found ) const = 0;
};

}  // namespace SmbusService
