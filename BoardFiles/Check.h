#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "BoardFiles/Documents.h"
#include "BoardFiles/Wires.h"

namespace BoardFiles {

// What the other documents may refer to in a topology.
struct TopologyIndex {
   struct Device {
      std::string pointer;
      bool declared = false;          // inline: with its driver and address
      bool addressed = false;         // here or by an object
      std::vector< uint32_t > muxes;  // device ids of the mux chips on its path, outermost first
      size_t wire = Wires::kNone;
   };
   std::map< uint32_t, Device > devices;          // by did
   std::map< uint32_t, std::string > components;  // uid to pointer
   std::map< std::string, uint32_t > labels;      // of devices, to did
};

// Mistakes that a schema cannot express. Each document must satisfy its schema.
TopologyIndex checkTopology( const BoardFile& topology,
                             Wires& wires,
                             std::vector< Finding >& findings );

// The index and the wires learn of the addresses that objects give.
void checkObjects( const BoardFile& objects,
                   TopologyIndex& topology,
                   Wires& wires,
                   std::vector< Finding >& findings );
void checkEmulation( const BoardFile& emulation,
                     const TopologyIndex& topology,
                     std::vector< Finding >& findings );

}  // namespace BoardFiles
