#include "Host/Session/ChipName.h"

#include <fmt/format.h>

namespace Host {

std::string chipName( const Board&, const ObjectSpec&, unsigned address ) {
   return fmt::format( "device 0x{:02x}", address );
}

}  // namespace Host
