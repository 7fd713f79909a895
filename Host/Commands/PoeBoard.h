#pragma once

#include <vector>

#include "Host/Commands/Commands.h"
#include "Host/Output/PoeReport.h"

namespace Host {

// The board with its PoE ports as the only objects. Throws UseError where there are none.
Board loadPoePorts( const Program& program );

// The ports by the device that they belong to, in the order of the first ones.
std::vector< PoeController > poeControllers( const Board& board,
                                             const std::vector< PoePort >& ports );

struct PoeFirmwareOptions {
   bool isForced = false;     // also where a firmware runs
   bool isConfirmed = false;  // without asking
};

// Through the first port of each controller; returns the exit status. Throws UseError where nobody
// can be asked.
int updatePoeFirmware( const Program& program, const PoeFirmwareOptions& options );

}  // namespace Host
