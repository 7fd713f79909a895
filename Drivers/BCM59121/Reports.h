#pragma once

#include <string>

#include "Drivers/BCM59121/BCM59121.h"

// Texts about a port for people: sections of aligned labels and values, each asked for anew. In
// place of a section that cannot be had stands "checksum error", "hardware error" or "SMBus error".
namespace Drivers::Poe {

// What an operator wants to know of a port: its status, configuration, limits, measurements and
// counters, the controller's power budget and its firmware.
std::string portInformation( BCM59121& device, uint8_t port );

// The same, and what developers want of the port's channels and the controller's chips. With
// `isVerbose` the bytes of each answer as well.
std::string debugInformation( BCM59121& device, uint8_t port, bool isVerbose );

}  // namespace Drivers::Poe
