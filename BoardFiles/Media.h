#pragma once

#include <array>
#include <string_view>

#include "smbus.pb.h"

// The access media of a board's topology.
namespace Media {

// What stands below a medium.
enum class Shape { Bus, Busses, Accelerators, Devices };

struct Medium {
   std::string_view type;     // as the topology document names it
   Smbus::MasterType master;  // of no meaning where there are no busses
   Shape shape;
   bool hasPci = false;  // requests carry the PCI address that the document gives

   // Whether these of its numbers tell adapters apart.
   constexpr bool hasAccelerators() const { return shape == Shape::Accelerators; }
   constexpr bool hasBusses() const { return hasAccelerators() || shape == Shape::Busses; }
};

inline constexpr Medium kScd{ "SCD", Smbus::MASTER_SCD, Shape::Accelerators, true };
inline constexpr Medium kI2c{ "I2C", Smbus::MASTER_I2C, Shape::Bus };  // or MASTER_SIMULATED
inline constexpr Medium kIoPort{ "IOPort", Smbus::MASTER_IO_PORT, Shape::Bus };
inline constexpr Medium kCelestica{ "Celestica", Smbus::MASTER_CELESTICA, Shape::Accelerators };
inline constexpr Medium kPlm{ "PLM", Smbus::MASTER_PLM, Shape::Bus };
inline constexpr Medium kSccSpi{ "SccSpi", Smbus::MASTER_SCC_SPI, Shape::Bus };
inline constexpr Medium kLinuxFs{ "LinuxFs", Smbus::MASTER_SIMULATED,
                                  Shape::Devices };  // no master
inline constexpr Medium kFbDomFpga{ "FbDomFpga", Smbus::MASTER_FB_DOM_FPGA, Shape::Busses, true };

inline constexpr std::array kAll = { kScd, kI2c,    kIoPort,  kCelestica,
                                     kPlm, kSccSpi, kLinuxFs, kFbDomFpga };

}  // namespace Media
