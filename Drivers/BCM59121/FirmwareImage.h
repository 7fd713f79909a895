#pragma once

#include <cstdint>
#include <string>

namespace Drivers::Poe {

// A controller's firmware; docs/poe-firmware.md has the file's form.
struct FirmwareImage {
   uint8_t version = 0;
   uint8_t extendedVersion = 0;
   uint32_t crc = 0;
   std::string payload;
};

// IEEE 802.3.
uint32_t crc32( const std::string& bytes );

constexpr const char* kFirmwareNotFound = "PoE firmware not found.";

// These return null, or what is wrong; `image` is written when nothing is.
const char* decodeFirmware( const std::string& file, FirmwareImage* image );
// Of `directory`, a relative path that does not lead upwards, in the folder of firmware.
const char* loadFirmware( const std::string& directory, FirmwareImage* image );

// The folder of firmware; tests put their own in its place.
extern const char* firmwareRoot;

}  // namespace Drivers::Poe
