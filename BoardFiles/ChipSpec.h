#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "BoardFiles/Place.h"
#include "Utils/Json.h"

namespace BoardFiles {

enum class FaultKind {
   kNak,       // no acknowledge
   kTimeout,   // the chip stretches the clock beyond the time limit
   kCorrupt,   // the answer arrives corrupt; transfers that read
   kShort,     // the answer breaks off; transfers that read
   kStuckMux,  // the channels stay as they are; writes to a mux
};

struct Fault {
   FaultKind kind;
   uint32_t count = 1;  // transfers that it strikes
   uint32_t skip = 0;   // transfers of its kind that it lets pass before
};

// One entry of emulation.json.
struct ChipSpec {
   uint32_t did;
   Place place;
   std::optional< std::string > model = {};  // called like the driver
   std::vector< std::pair< std::string, double > > quantities = {};
   std::optional< std::string > contents = {};
   std::vector< std::pair< std::string, std::string > > fields = {};  // beside no contents
   bool isUnplugged = false;
   std::vector< Fault > faults = {};
};

// As the documents write them.
std::vector< std::string > faultKindNames();

// What these read must satisfy its schema.
Fault readFault( const Utils::Json::Value& );
ChipSpec readChip( const Utils::Json::Value&, const Place& );

}  // namespace BoardFiles
