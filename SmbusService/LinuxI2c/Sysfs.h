#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "BoardFiles/AdapterSpec.h"

namespace SmbusService::LinuxI2c {

// An I2C adapter, as the system has it.
struct SystemAdapter {
   unsigned number;   // of i2c-N
   std::string name;  // as its driver calls it
   std::string path;  // of its parent device, "/sys/devices/..."

   std::string text() const;  // `i2c-3 "SMBus I801 adapter at f040" at /sys/devices/...`
};

// What the system tells of its I2C adapters.
class Sysfs {
 public:
   // A root other than "/" is a test's.
   explicit Sysfs( std::filesystem::path root = "/" ) : root_( std::move( root ) ) {}

   // In the order of their numbers.
   std::vector< SystemAdapter > adapters() const;

   // All that an entry of adapters.json matches.
   std::vector< SystemAdapter > find( const BoardFiles::AdapterSpec& ) const;

   // The kernel's driver for the chip at an address; empty when there is none.
   std::string driverAt( unsigned adapter, uint8_t address ) const;

   bool has( unsigned adapter ) const;
   std::string deviceFile( unsigned adapter ) const;

 private:
   std::filesystem::path root_;
};

}  // namespace SmbusService::LinuxI2c
