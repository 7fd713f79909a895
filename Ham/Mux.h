#pragma once

#include <cstdint>

#include "Ham/Ham.h"
#include "pl.h"

namespace Component {

class HardwareDevice;

namespace LogicalDevice {

// One channel of an SMBus multiplexer, as the SMBus HAM drives it.
class Mux {
 public:
   virtual ~Mux() = default;

   // Queue the selection of the channel, or its reset, on a HAM that speaks to the mux chip; return
   // the count of requests queued.
   virtual uint32_t selectRequest( Ham::Ham* ham ) = 0;
   virtual uint32_t resetRequest( Ham::Ham* ham ) = 0;

   // Selects the channel in a batch of its own.
   [[nodiscard]] virtual pl_status executeMuxRequest() = 0;

   // The device of the mux chip.
   virtual HardwareDevice* device() const = 0;
};

}  // namespace LogicalDevice
}  // namespace Component
