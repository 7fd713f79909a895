#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include "BoardFiles/Documents.h"
#include "BoardFiles/Place.h"
#include "BoardFiles/Wiring.h"

namespace BoardFiles {

// One entry of adapters.json: which of the system's I2C adapters one of the board's is. One of
// `name`, `path` and `number` is set.
struct AdapterSpec {
   size_t adapter;  // its position in the wiring
   Place place;
   std::optional< std::string > name = {};  // shell patterns of what sysfs says
   std::optional< std::string > path = {};
   std::optional< unsigned > number = {};
   bool isShared = false;  // addresses that a kernel driver holds may be used
   std::optional< std::chrono::milliseconds > timeout = {};  // where an address word names none

   bool operator==( const AdapterSpec& ) const = default;
};

// The entries of a document that satisfies its schema, and what is wrong with them.
std::vector< AdapterSpec > readAdapterSpecs( const BoardFile& adapters,
                                             const Wiring& wiring,
                                             std::vector< Finding >& findings );

}  // namespace BoardFiles
