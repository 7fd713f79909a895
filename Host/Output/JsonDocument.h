#pragma once

#include <string>

#include "Host/Output/JsonObject.h"

// What every JSON document of the program begins with. Boards/schemas/output.schema.json describes
// them all.
namespace Host {

// "board", "time" (now, in UTC with milliseconds: "2024-05-06T07:08:09.123Z") and "simulation"
// (whether simulation files stand in for the chips).
JsonObject beginDocument( const std::string& board, JsonObject::Allocator& allocator );

}  // namespace Host
