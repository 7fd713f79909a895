#pragma once

#include <string>

namespace Host {

// Where the SMBus service listens: `given`, or what the environment says, or the usual place.
std::string servicePath( const std::string& given );

// False when the driver library serves its objects from simulation files.
bool serviceNeeded();

// Whether a service at the path answers requests, within two seconds.
bool serviceAnswers( const std::string& path );

}  // namespace Host
