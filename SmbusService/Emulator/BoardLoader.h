#pragma once

#include <memory>
#include <string>

#include "SmbusService/Emulator/Board.h"

namespace SmbusService::Emulator {

// Makes the board that a folder describes: topology.json has the adapters, busses and muxes and the
// place of each device, emulation.json the chips. A chip's address and the driver that its model is
// named after come from topology.json, or else from the device's first object in objects.json,
// which may be absent.
//
//   { "chips": [ { "did": 16,
//                  "model": "TMP75",               where it is not called like the driver
//                  "set": { "temperature": 42.5 },
//                  "contents": "...",              of a memory
//                  "unplugged": true,
//                  "faults": [ { "kind": "nak", "count": 2, "skip": 1 } ] } ] }
//
// Throws std::runtime_error with file, JSON pointer and problem.
std::unique_ptr< Board > loadBoard( const std::string& directory );

}  // namespace SmbusService::Emulator
