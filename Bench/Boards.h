#pragma once

#include <cstdint>
#include <string>

namespace Bench {

constexpr unsigned kDevicesPerBus = 50;
constexpr uint8_t kFirstAddress = 0x10;  // of each bus

// The topology document of a board of TMP75s on one FPGA, device ids counted from `firstDid`.
std::string topologyOf( unsigned devices, uint32_t firstDid );

// Entries of objects.json, one for each of its devices.
std::string objectsOf( unsigned devices, uint32_t firstDid );

// A device's arguments, as the host gives them to the add entry point.
std::string argumentsOf( uint32_t did );

}  // namespace Bench
