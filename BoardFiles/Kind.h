#pragma once

#include <array>
#include <cstddef>
#include <string_view>

namespace BoardFiles {

enum class Kind { System, Slot, Led, PoePort, TempSensor, Fan, Xcvr, Psu, Gpio, Smbus };

struct KindInfo {
   std::string_view name;  // in objects.json, and in the entry points pl_<name>_init and _add
};

// In the order of the enumeration.
constexpr std::array< KindInfo, 10 > kKinds = { {
   { "system" },
   { "slot" },
   { "led" },
   { "poe_port" },
   { "temp_sensor" },
   { "fan" },
   { "xcvr" },
   { "psu" },
   { "gpio" },
   { "smbus" },
} };

constexpr const KindInfo& info( Kind kind ) {
   return kKinds[ static_cast< size_t >( kind ) ];
}

}  // namespace BoardFiles
