#pragma once

#include <string>

#include "BoardFiles/Board.h"

namespace Host {

using namespace BoardFiles;

// For people, the chip at this address that a request of the object is about: "TMP75 0x48 at scd1"
// for the object's own device or a mux on its path, "device 0x48" where it is neither.
std::string chipName( const Board& board, const ObjectSpec& object, unsigned address );

}  // namespace Host
