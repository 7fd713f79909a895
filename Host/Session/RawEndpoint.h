#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "BoardFiles/Board.h"

namespace Host {

using namespace BoardFiles;

// The label itself where a device has it, or else the labels that have it as their stem.
std::vector< std::string > labelsFor( const Wiring& wiring, const std::string& name );

// A raw SMBus endpoint as an object of its own, which need not be one of the board's.
struct RawEndpoint {
   ObjectSpec object;
   uint32_t address;  // of the chip

   // The chip that is meant: an object of kind smbus, the device of another object, a device of the
   // topology by its label, or, where no other begins so, by its label's stem. Throws UseError.
   static RawEndpoint named( const Board& board, const std::string& name );
};

}  // namespace Host
