#pragma once

#include <chrono>
#include <string>

#include "pl.h"

// Why something failed, in words for people.
namespace Host {

// What is told of a driver whose own words are for its traces.
constexpr const char* kGaveUp = "the driver gave up; --trace 0 shows why";
constexpr const char* kMadeNoObject = "the driver made no object of it; --trace 0 shows why";

constexpr const char* kDeviceError = "the device reports an error";

// A call returned this status, which is not PL_STATUS_OK. `request` tells of a request that failed,
// and is empty where none did; `deviceError` tells what PL_STATUS_DEVICE_ERROR means.
std::string whyNotOk( pl_status status,
                      const std::string& request,
                      const char* deviceError = kDeviceError );

// The driver's process ended: its status as wait() gives it.
std::string whyDied( int waitStatus );

// The driver's process did not answer within the limit.
std::string whyHung( std::chrono::milliseconds limit );

}  // namespace Host
