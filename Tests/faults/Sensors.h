#pragma once

#include <cstddef>

#include "Tests/faults/Report.h"
#include "Tests/support/TemporaryDirectory.h"

namespace Tests::Faults {

constexpr const char* kService = "lumen-smbusd --emulate ";  // the board's folder follows

// The emulated board that all services serve; `members` are more ones of emulation.json.
class Board {
 public:
   explicit Board( const std::string& members = "" );
   std::string path() const { return folder_.path(); }

 private:
   TemporaryDirectory folder_;
};

// The first two sensors are behind two muxes, at one address; the third is behind one. Each has a
// temperature of its own.
constexpr size_t kSensors = 4;

// Makes the process's sensors, which forked children have, too. False when there is no service.
bool makeSensors();

void read( size_t sensor, Tally& );
// Tries again when a busy machine was too slow.
bool readsRight( size_t sensor, Tally& );

// Where this process and its future children connect from now on, with the time limit of one
// exchange, in milliseconds.
void use( const std::string& socket, unsigned limit );
unsigned timeLimit();

}  // namespace Tests::Faults
