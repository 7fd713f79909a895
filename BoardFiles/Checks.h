#pragma once

#include <vector>

#include "BoardFiles/AddressCheck.h"
#include "BoardFiles/DriverCheck.h"
#include "BoardFiles/Finding.h"
#include "BoardFiles/Wiring.h"

namespace BoardFiles {

// What the checks of a board's documents fill and ask.
struct Checks {
   Wiring& wiring;
   AddressCheck& addresses;
   DriverCheck& drivers;
   std::vector< Finding >& findings;
};

}  // namespace BoardFiles
