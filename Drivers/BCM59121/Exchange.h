#pragma once

#include <chrono>
#include <string>

#include "Ham/Ham.h"

// How messages travel. The simulation is told to mean the answer, by whose register it serves.
namespace Drivers::Poe {

constexpr Ham::Ham::Register kAnswer = 0xFF;

// From a request to its answer.
constexpr std::chrono::microseconds kTurnaround{ 4000 };

// Waits; tests put their own in its place.
extern void ( *pause )( std::chrono::microseconds );

[[nodiscard]] pl_status send( Ham::Ham* ham, const std::string& message );
[[nodiscard]] pl_status receive( Ham::Ham* ham, std::string& response );

// A request and its response, checked. What was received stays in `response`, also when it is bad;
// it is empty when there was none.
[[nodiscard]] pl_status exchange( Ham::Ham* ham,
                                  const std::string& message,
                                  std::string& response );

}  // namespace Drivers::Poe
