#pragma once

#include <cstdint>
#include <string>

#include "smbus.pb.h"

namespace BoardFiles {

// A transfer without its place and data: `read 2 bytes, register 0x00`, `send byte 0xab`.
std::string operationWords( Smbus::RequestType type,
                            uint32_t size,
                            uint32_t reg,
                            uint32_t registerSize );

}  // namespace BoardFiles
