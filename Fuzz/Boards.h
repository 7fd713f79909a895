#pragma once

#include <fstream>
#include <memory>
#include <string>

#include "SmbusService/Emulator/BoardLoader.h"
#include "Tests/support/TemporaryDirectory.h"

namespace Fuzz {

// A file of this process for an input, whose name stays.
inline std::string fileWith( const std::string& text ) {
   static const Tests::TemporaryDirectory directory;
   std::string path = directory.path() / "input";
   std::ofstream( path, std::ios::binary ) << text;
   return path;
}

// The demonstration board.
inline const BoardFiles::Board& demo() {
   static const BoardFiles::Board board = BoardFiles::loadBoard(
      LUMEN_SOURCE_DIR "/Boards/demo", { .emulation = BoardFiles::Demand::Needed } );
   return board;
}

}  // namespace Fuzz
