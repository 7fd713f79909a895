#pragma once

#include <vector>

#include "BoardFiles/Finding.h"
#include "BoardFiles/Place.h"
#include "Utils/Json.h"

namespace BoardFiles {

// Warns of members that nobody reads, where they are likely to be misspelt ones that the object
// lacks. `definition` is the object's in the topology's schema.
void warnOfMisspeltMembers( const Utils::Json::Value& object,
                            const char* definition,
                            const Place& place,
                            std::vector< Finding >& findings );

}  // namespace BoardFiles
