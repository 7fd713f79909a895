#pragma once

#include <cstdlib>

namespace PlatformLibrary {

constexpr const char* kServicePathVariable = "PL_SMBUS_SOCKET";
constexpr const char* kUsualServicePath = "/run/lumen/smbus.sock";

// The socket at which the SMBus service listens. The text is the environment's.
inline const char* servicePath() {
   const char* path = getenv( kServicePathVariable );
   return path && *path ? path : kUsualServicePath;
}

}  // namespace PlatformLibrary
