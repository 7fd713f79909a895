#pragma once

#include "SmbusService/Emulator/Chips/PoeMessage.h"
#include "SmbusService/Emulator/Chips/PoePorts.h"

namespace SmbusService::Emulator {

// Fills the answer to a query of a port, or of all of them. False when it is none, or names a port
// that the controller does not have.
bool answerPoeQuery( const PoePorts&, PoeRequest, PoeAnswer& );

}  // namespace SmbusService::Emulator
