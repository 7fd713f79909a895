#pragma once

#include <cstdint>
#include <cstring>

#include "Utils/Json.h"

// Address of a device on its access path. The eight bytes travel as they are in the service's
// requests, so the layout is fixed: a command word, then the packed address word.
struct HamAddress {
   uint32_t command = 0;  // register number of the request

   uint32_t address : 7 = 0;  // SMBus device address
   uint32_t bus : 7 = 0;
   uint32_t accelerator : 7 = 0;  // SMBus master engine
   uint32_t writeNoStopReadCurrent : 1 = 0;
   uint32_t busTimeout : 3 = 0;  // time-out code
   uint32_t addrSize : 2 = 0;    // bytes of a register number: 1, 2, or 0 for four
   uint32_t extraDelay : 1 = 0;
   uint32_t writeDelay : 2 = 0;  // delay code
   uint32_t readDelay : 2 = 0;   // delay code

   uint32_t word() const {
      uint32_t packed;
      memcpy( &packed, reinterpret_cast< const char* >( this ) + sizeof command, sizeof packed );
      return packed;
   }
};
static_assert( sizeof( HamAddress ) == 8 );

// PCI address of an SMBus master; 0 for none.
using PCIAddress = uint32_t;

namespace Topology {

using Value = Utils::Json::Value;

// Fills the address word from an address object; the command word stays as it is.
void fillAddressFromJSON( const Value& value, HamAddress& addr );

}  // namespace Topology
