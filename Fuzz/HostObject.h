#pragma once

#include <functional>
#include <optional>
#include <string>

#include "pl.h"

namespace Fuzz {

// Calls every operation of an object, with arguments that the bytes give.
using Use = std::function< void( const std::string& bytes ) >;

Use useOf( pl_poe_port* port );

// Adds an object to the library. The first character of the text tells its kind: t a temperature
// sensor (T one with limits that are no numbers), l an LED, f a fan, s a slot, p a power supply, x
// a transceiver, g a GPIO, m a raw endpoint, anything else a PoE port. The others are its device
// arguments, which stay as long as the use. Nothing where the library did not come to an end; a use
// that does nothing where it refused.
std::optional< Use > addObject( const std::string& text );

// The next objects get devices of their own.
void forgetDevices();

}  // namespace Fuzz
