#pragma once

#include <cstdint>
#include <set>

#include "BoardFiles/Wiring.h"

namespace BoardFiles {

// The chips of muxes, as dids, that are reached through themselves, directly or through others. In
// time that grows as the board does.
std::set< uint32_t > muxesBehindThemselves( const Wiring& wiring );

}  // namespace BoardFiles
