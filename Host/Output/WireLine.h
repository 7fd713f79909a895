#pragma once

#include <string>

#include "Host/Session/WireNames.h"

namespace Host {

// One line without its end, with what was written and read in hexadecimal:
// "12:00:01.123456 scd1 TMP75 0x48 read 2 bytes, register 0x00: 19 80 (0.4 ms)"
std::string wireLine( const WireTransfer& transfer, const WireNames& names );

}  // namespace Host
