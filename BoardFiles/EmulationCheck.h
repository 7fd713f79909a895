#pragma once

#include <vector>

#include "BoardFiles/Documents.h"
#include "BoardFiles/Wiring.h"

namespace BoardFiles {

// Reports what is wrong with the places of emulated chips. The document must satisfy its schema.
void checkEmulation( const BoardFile& emulation,
                     const Wiring& wiring,
                     std::vector< Finding >& findings );

}  // namespace BoardFiles
