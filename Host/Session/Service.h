#pragma once

#include <chrono>
#include <string>

namespace Host {

// Where the SMBus service listens: `given`, or what the environment says, or the usual place.
std::string servicePath( const std::string& given );

// False when the driver library serves its objects from simulation files.
bool serviceNeeded();

// Why no service at the path answers requests in time; nothing when one does.
std::string whyNoService( const std::string& path,
                          std::chrono::milliseconds patience = std::chrono::seconds( 2 ) );

}  // namespace Host
