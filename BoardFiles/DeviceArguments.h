#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "BoardFiles/Finding.h"
#include "BoardFiles/Place.h"
#include "Utils/Json.h"

namespace BoardFiles {

// The address at which the driver speaks to the device; nothing when it does not.
std::optional< uint32_t > addressOf( const Utils::Json::Value& device );

// Empty when it names none.
std::string driverOf( const Utils::Json::Value& device );

// Members that are likely to be misspelt, and driver arguments that reach the driver as something
// else than what the document says.
void checkDeviceArguments( const Utils::Json::Value& device,
                           const Place& place,
                           std::vector< Finding >& findings );

}  // namespace BoardFiles
