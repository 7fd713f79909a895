#pragma once

#include <optional>
#include <string>

#include "Host/Session/SettingOperations.h"

namespace Host {

// Watts.
constexpr double kLeastPoeLimit = 0.2;
constexpr double kLargestPoeLimit = 90;

// "on", "off", "limit class" or "limit WATTS".
std::optional< Setting > parsePoeSetting( const ObjectSpec& object, const std::string& text );

// Switched on, a port that is enabled and all the same without power because a host forced it off
// gets its power, too.
//
// The controller keeps a limit, with 3 % for the cable, in 255 steps of 0.2 W; on ports that feed
// two pair sets to one device it has the half of it. A larger one would wrap, and is refused.
pl_status applyPoeSetting( void* object, const Setting& setting );

}  // namespace Host
