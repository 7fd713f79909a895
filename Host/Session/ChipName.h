#pragma once

#include <string>

#include "BoardFiles/Board.h"
#include "pl_host.h"

namespace Host {

using namespace BoardFiles;

// For people, the chip that a request of the object failed at: "TMP75 0x48 at scd1" for the
// object's own device or a mux on its path, "device 0x50 at scd1" where it is neither.
std::string chipName( const Board& board,
                      const ObjectSpec& object,
                      const pl_service_failure& failure );

}  // namespace Host
