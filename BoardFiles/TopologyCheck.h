#pragma once

#include "BoardFiles/Checks.h"
#include "BoardFiles/Documents.h"

namespace BoardFiles {

// Puts a topology, which must satisfy its schema, into the wiring, and reports the mistakes that a
// schema cannot express.
void checkTopology( const BoardFile& topology, const Checks& checks );

}  // namespace BoardFiles
