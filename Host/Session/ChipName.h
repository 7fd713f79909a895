#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "BoardFiles/Board.h"
#include "pl_host.h"

namespace Host {

using namespace BoardFiles;

// The object's device, where its arguments name one.
std::optional< uint32_t > deviceIdOf( const Wiring& wiring, const ObjectSpec& object );

// For people, the chip that a request of the object failed at: "TMP75 0x48 at scd1" for the
// object's own device or a mux on its path, "device 0x50 at scd1" where it is neither.
std::string chipName( const Board& board,
                      const ObjectSpec& object,
                      const pl_service_failure& failure );

}  // namespace Host
