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

// Which objects of a board have a device, or a chip, in common: what is done to set it up for one
// of them concerns them all.
class ChipSharing {
 public:
   explicit ChipSharing( const Board& board );

   // They, and the object itself, in the board's order.
   std::vector< size_t > with( size_t object ) const;

 private:
   std::vector< size_t > firsts_;  // of each object, the first of those that it shares with
};

}  // namespace Host
