#pragma once

#include <array>
#include <cstddef>
#include <string_view>

namespace BoardFiles {

enum class Kind { System, Slot, Led, PoePort, TempSensor, Fan, Xcvr, Psu, Gpio, Smbus };

// In objects.json, and in the entry points pl_<name>_init and _add; in the enumeration's order.
constexpr std::array< std::string_view, 10 > kKindNames = {
   "system", "slot", "led", "poe_port", "temp_sensor", "fan", "xcvr", "psu", "gpio", "smbus",
};

constexpr std::string_view kindName( Kind kind ) {
   return kKindNames[ static_cast< size_t >( kind ) ];
}

}  // namespace BoardFiles
