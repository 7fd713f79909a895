#pragma once

#include <string>

#include "Host/Output/JsonObject.h"
#include "Host/Session/WireNames.h"

namespace Host {

// A bus by its label and its way there, "optics (fpga3 0x70:0x01)"; by the way alone where that is
// all there is.
std::string busTitle( const Wiring& wiring, size_t bus );

// Its "label", "path" and "channels".
void addBus( JsonObject& json, const Wiring& wiring, size_t bus, JsonObject::Allocator& allocator );

}  // namespace Host
