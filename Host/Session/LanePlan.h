#pragma once

#include <cstddef>
#include <vector>

#include "BoardFiles/Board.h"

namespace Host {

using namespace BoardFiles;

// Which objects can be worked on side by side: the lists of a board's objects, as positions, of
// which each is a lane. Objects whose chips hang on one adapter are in one lane, and so are those
// of one device, even where its parts hang on several adapters; those that hang on none are in a
// lane together. Where that makes more lanes than `most`, adapters share them.
std::vector< std::vector< size_t > > planLanes( const Board& board, size_t most );

}  // namespace Host
