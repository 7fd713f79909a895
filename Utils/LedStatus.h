#pragma once

// The names of the values of pl_led_status, in their order.
namespace Utils {

inline constexpr const char* kLedStatusNames[] = {
   "Off", "Good", "Warning", "Bad", "Inactive", "Unknown", "Beacon",
};

}  // namespace Utils
