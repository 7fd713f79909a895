#pragma once

#include <chrono>
#include <string>
#include <string_view>
#include <vector>

#include "pl.h"

// Why something failed, in words, from what the driver library left behind.
namespace Host {

struct TraceLine {
   int level;
   std::string text;
};
using Traces = std::vector< TraceLine >;  // of one step, oldest first

// Traces up to this level say what failed in a request to the service.
constexpr int kReasonLevel = 3;

// An entry point returned no object.
std::string whyNotAdded( const Traces& traces );

// A callback returned this status, which is not PL_STATUS_OK.
std::string whyNotRead( pl_status status, const Traces& traces );

// The process died: its status as wait() gives it, and what it left on stderr.
std::string whyDied( int waitStatus, std::string_view errorOutput, const Traces& traces );

// The process did not answer within the limit.
std::string whyHung( std::chrono::milliseconds limit, const Traces& traces );

}  // namespace Host
