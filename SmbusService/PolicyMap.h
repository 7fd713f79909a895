#pragma once

#include <array>
#include <map>
#include <string>
#include <vector>

#include "BoardFiles/PolicyRule.h"
#include "SmbusService/BusTree.h"

namespace SmbusService {

// Which rules of a policy speak of which chip and which address, worked out once for a board.
class PolicyMap {
 public:
   using Rules = std::vector< const BoardFiles::PolicyRule* >;

   // A device of the board.
   struct Target {
      uint32_t did;
      std::string name;             // for people
      size_t mux = BusTree::kNone;  // its position in the tree, if it is one
      Rules rules = {};
   };

   // An address of a segment.
   struct Cell {
      std::vector< Target > targets = {};  // the devices that the board has there
      Rules rules = {};                    // of the address, whatever is there
   };

   struct Segment {
      std::string name;                        // for people
      std::array< uint32_t, 128 > cells = {};  // by address
      Rules below = {};                        // of anything on it, or behind its muxes
   };

   struct Adapter {
      const Cell& at( size_t segment, uint8_t address ) const {
         return cells[ segments[ segment ].cells[ address ] ];
      }

      BusTree tree = {};
      std::vector< Segment > segments = {};       // as in the tree
      std::vector< Cell > cells = { {} };         // the first one is empty
      std::array< Rules, 128 > everywhere = {};   // rules of the address on any segment
      std::vector< uint8_t > knownChannels = {};  // of each mux, all bits that the board uses
   };

   // The rules must outlive the map.
   PolicyMap( const std::vector< BoardFiles::PolicyRule >&, const BoardFiles::Wiring& );

   std::map< AdapterId, Adapter > adapters;
};

}  // namespace SmbusService
