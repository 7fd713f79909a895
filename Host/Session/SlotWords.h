#pragma once

#include <string>
#include <string_view>

namespace Host {

// What a slot's presence text tells of its unit, in words: "FAN-7001-F, serial MFS2043A017, front
// to back". Empty where it tells nothing that is known.
//
// The text is a small program, of which lines like these count, whatever stands before the point:
//    fanTray.modelName = 'FAN-7001-F'
//    fanTray.serialNum = "N/A"
//    fan.airflowDirection = 'frontToBackAirflow'
std::string slotWords( std::string_view program );

}  // namespace Host
