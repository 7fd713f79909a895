#pragma once

#include <optional>
#include <string>
#include <vector>

#include "Host/Session/Observation.h"

namespace Host {

// In the worker; the texts are the library's.
[[nodiscard]] pl_status readPoeInformation( pl_poe_port* port, std::string& text );
[[nodiscard]] pl_status readPoeDebugReport( pl_poe_port* port, bool isVerbose, std::string& text );

// Watts. A port with a fault, and one that is disabled, says so.
Reading readPoePower( void* object );

// In words: "delivering, primary pairs". The class is a number, or words where it is unknown.
Reading readPoeState( pl_poe_port* port );
Reading readPoeClass( pl_poe_port* port );

// All that poePortOf() makes a port of, in the reading's text.
Reading readPoePort( void* object );

// One port; what is not known is empty. The names are those of Linux's interface to power sourcing
// equipment.
struct PoePort {
   bool isFaulty() const { return status == "fault" || status == "otherfault"; }

   const ObjectSpec* object = nullptr;
   bool isRead = false;
   std::optional< bool > isEnabled = {};
   std::string status =
      {};  // "disabled" to "requesting"; of a port that was not read "absent", "failed"
   std::string reason = {};  // "overload_detected"; of a port that was not read words for people
   std::optional< int > deviceClass = {};
   std::optional< double > watts = {}, volts = {}, amperes = {}, celsius = {};
   std::string limitType = {};          // "none", "class", "user"
   std::optional< double > limit = {};  // watts, of the type "user"

   // What the port's controller tells of itself.
   std::optional< double > consumed = {}, budget = {};  // watts
   std::string firmware = {};
};

// From an observation that readPoePort() made. Reasons that the port does not tell are taken from
// its counters, which count from their last clearing on.
PoePort poePortOf( const Observation& observation );

}  // namespace Host
