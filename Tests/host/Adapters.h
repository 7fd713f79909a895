#pragma once

#include "BoardFiles/Wiring.h"

namespace Tests {

// One more adapter, with one device.
inline void addAdapter( BoardFiles::Wiring& wiring, uint32_t did ) {
   BoardFiles::Wiring::Adapter adapter{};
   adapter.bus = static_cast< uint32_t >( wiring.adapters.size() );
   wiring.devices[ did ].bus = BoardFiles::WiringBuilder( wiring ).busAt( adapter, "" ).first;
}

}  // namespace Tests
