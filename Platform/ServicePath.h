#pragma once

#include <cstdlib>

namespace PlatformLibrary {

constexpr const char* kServicePathVariable = "PL_SMBUS_SOCKET";
constexpr const char* kUsualServicePath = "/run/lumen/smbus.sock";
constexpr const char* kControlPathVariable = "PL_SMBUS_CONTROL";
constexpr const char* kUsualControlPath = "/run/lumen/control.sock";

// Where the environment says, else the usual place. The text is the environment's, too.
inline const char* pathFrom( const char* variable, const char* usual ) {
   const char* path = getenv( variable );
   return path && *path ? path : usual;
}

// The socket at which the SMBus service listens.
inline const char* servicePath() {
   return pathFrom( kServicePathVariable, kUsualServicePath );
}

// The socket at which it hands out its wire log, and takes what happens to emulated chips.
inline const char* controlPath() {
   return pathFrom( kControlPathVariable, kUsualControlPath );
}

}  // namespace PlatformLibrary
