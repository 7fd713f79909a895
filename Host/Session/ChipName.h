#pragma once

#include <string>

#include "BoardFiles/Board.h"

namespace Host {

using namespace BoardFiles;

// The chip at this address that a request of the object is about, for people: the object's own
// device or a mux on its path, "TMP75 0x48 at scd1"; "device 0x48" where it is neither.
std::string chipName( const Board& board, const ObjectSpec& object, unsigned address );

}  // namespace Host
