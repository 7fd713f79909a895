#pragma once

#include <cstddef>
#include <map>
#include <vector>

#include "BoardFiles/Documents.h"
#include "BoardFiles/Wiring.h"

namespace BoardFiles {

// Reports what is wrong with the places of emulated chips. The document must satisfy its schema.
void checkEmulation( const BoardFile& emulation,
                     const Wiring& wiring,
                     std::vector< Finding >& findings );

// The bits per second at which emulated adapters work, by their position in the wiring: those of
// the whole board, and of single ones. Others take no time.
std::map< size_t, unsigned > readBitRates( const BoardFile& emulation,
                                           const Wiring& wiring,
                                           std::vector< Finding >& findings );

}  // namespace BoardFiles
