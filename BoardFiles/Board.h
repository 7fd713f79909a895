#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "BoardFiles/AdapterSpec.h"
#include "BoardFiles/ChipSpec.h"
#include "BoardFiles/FanRange.h"
#include "BoardFiles/Finding.h"
#include "BoardFiles/Kind.h"
#include "BoardFiles/Wiring.h"

namespace BoardFiles {

// One entry of objects.json.
struct ObjectSpec {
   Kind kind;
   std::string name;
   std::string device;                  // device arguments (JSON), or the stem of a topology label
   uint8_t address = 0;                 // used with a stem
   std::optional< double > alert = {};  // of a temperature sensor, degrees Celsius
   std::optional< double > critical = {};
   FanRange range = {};  // of a fan

   // Of a temperature sensor: at or below `low` it is too cold, and a limit that was reached is
   // left only when the reading is `hysteresis` inside of it.
   std::optional< double > low = {};
   std::optional< double > hysteresis = {};

   std::optional< double > expected = {};  // of a GPIO: 0 or 1, which is as it should be
};

struct Board {
   std::string directory;
   std::string topology;          // topology.json as it stands
   std::string objectsText = {};  // objects.json
   Wiring wiring = {};
   std::vector< ObjectSpec > objects = {};
   std::vector< ChipSpec > chips = {};
   std::map< size_t, unsigned > bitRates = {};  // of emulated adapters, by position in the wiring
   std::vector< Finding > warnings = {};
   bool hasEmulation = false;  // emulation.json was looked at
   std::vector< AdapterSpec > adapters = {};
};

// Which of a board's further documents are looked at, and whether the drivers would take what they
// are given: else the objects that none takes fail one by one.
enum class Demand { Unused, IfPresent, Needed };
struct Extent {
   Demand emulation = Demand::Unused;
   Demand adapters = Demand::Unused;
   bool drivers = false;
};

// Reads and checks the documents of a board's folder, the further ones as asked.
// Throws BoardError with every mistake found, std::runtime_error where there is no such folder.
Board loadBoard( const std::string& directory, const Extent& extent );

}  // namespace BoardFiles
