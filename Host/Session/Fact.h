#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Host/Session/KindOperations.h"
#include "Host/Session/RequestFailure.h"

namespace Host {

// One thing that an object's callbacks tell.
struct Fact {
   std::string label;                             // "output voltage"
   std::string unit;                              // of a number
   Reading reading = {};                          // a text may have several lines
   std::optional< RequestFailure > failure = {};  // the request that failed, if one did
};

// Facts as a text, which a worker can send; a text that is too long for a message loses its end.
void putFact( std::string& all, const Fact& fact );
std::vector< Fact > factsIn( std::string_view text );

}  // namespace Host
