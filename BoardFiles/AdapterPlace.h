#pragma once

#include <optional>
#include <string>
#include <vector>

#include "BoardFiles/Finding.h"
#include "BoardFiles/Wiring.h"
#include "Utils/Json.h"

namespace BoardFiles {

// The adapter that a document's object names with the members "medium" (a label of the topology,
// or a medium's type where it has none), "accelerator" and "bus" (as the medium has them), as its
// position in the wiring. Nothing, and a finding, where there is none.
std::optional< size_t > findAdapter( const Utils::Json::Value& object,
                                     const Place& place,
                                     const Wiring& wiring,
                                     std::vector< Finding >& findings );

}  // namespace BoardFiles
