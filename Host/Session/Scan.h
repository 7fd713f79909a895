#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "BoardFiles/Wiring.h"
#include "Host/Session/WireNames.h"
#include "PlatformLibrary/PLSocket.h"
#include "smbus.pb.h"

namespace Host {

using namespace BoardFiles;

// What is at an address of a bus, compared with what the board's documents declare there.
enum class Presence {
   Silent,      // nothing, as declared
   Ok,          // the declared device answers
   Missing,     // it does not
   Undeclared,  // something else answers
   Above,       // the address answers on a bus above, which stays connected
   Refused,     // the service does not allow the probe
   Held,        // a kernel driver has the address
   Failed,      // the probe failed, though something may be there
   NotReached,  // the scan ended before
};

struct ScannedAddress {
   uint8_t address;
   std::optional< uint32_t > did = {};  // of the device that is declared there
   Presence presence;
   std::string reason = {};  // of Refused, Held and Failed; what is above
};

struct ScannedBus {
   size_t bus;
   std::vector< ScannedAddress > addresses;  // in order; one with several devices is repeated
   std::string problem = {};                 // why the scan ended early
};

// The SMBus service is gone; the text is for the user.
class ServiceLost : public std::runtime_error {
   using std::runtime_error::runtime_error;
};

// Looks for chips by receive-byte, which changes nothing in memories, one probe a batch with the
// selections and resets of the muxes on its way. An adapter that fails is left alone from then on.
class Scan {
 public:
   // Connects to the service that the environment names. Throws ServiceLost, as the others do.
   explicit Scan( const Wiring& wiring );

   // The busses above are scanned first, once.
   const ScannedBus& scan( size_t bus );

 private:
   struct Probe;

   ScannedBus scanAnew( size_t bus );
   std::string whyNotReached( size_t bus ) const;
   std::string whoAnswersAbove( size_t bus, uint8_t address ) const;
   Probe probe( size_t bus, uint8_t address );
   Probe judge( const Smbus::TransactionResponse& answer, int position, size_t bus );
   void add( size_t bus, uint32_t device, Smbus::RequestType type, uint32_t byte );

   const Wiring& wiring_;
   WireNames names_;
   PlatformLibrary::PLSocket socket_;
   Smbus::TransactionRequest batch_;
   std::map< size_t, ScannedBus > scanned_;
   std::map< size_t, std::string > failedAdapters_;  // and why
};

// Whether all that is declared answers, and nothing else.
bool isAsDeclared( const ScannedBus& bus );

}  // namespace Host
