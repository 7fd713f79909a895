#pragma once

#include <vector>

#include "BoardFiles/AddressCheck.h"
#include "BoardFiles/Documents.h"

namespace BoardFiles {

// Puts a topology, which must satisfy its schema, into the wiring, and reports the mistakes that a
// schema cannot express.
void checkTopology( const BoardFile& topology,
                    Wiring& wiring,
                    AddressCheck& addresses,
                    std::vector< Finding >& findings );

}  // namespace BoardFiles
