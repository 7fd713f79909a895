#pragma once

#include <vector>

#include "BoardFiles/Finding.h"
#include "BoardFiles/Place.h"
#include "Utils/Json.h"

namespace BoardFiles {

// Reports limits of an object of objects.json that cannot be met together. The object must satisfy
// its schema.
void checkLimits( const Utils::Json::Value& object,
                  const Place& place,
                  std::vector< Finding >& findings );

}  // namespace BoardFiles
