#pragma once

#include <memory>
#include <string>

#include "BoardFiles/Board.h"
#include "SmbusService/Emulator/EmulatedBoard.h"

namespace SmbusService::Emulator {

// Makes the chips of a board whose emulation document was read. Throws BoardFiles::BoardError with
// the board's warnings and every mistake that the models find.
std::unique_ptr< EmulatedBoard > loadBoard( const BoardFiles::Board& );

// Reads and checks the folder's documents before.
std::unique_ptr< EmulatedBoard > loadBoard( const std::string& directory );

}  // namespace SmbusService::Emulator
