#pragma once

#include <array>

#include "Host/Session/Observation.h"

namespace Host {

// Ways to put objects in order. State: the worst first; Name: as people count, port2 before port10;
// Reading: the largest first. What is equal stays as it is on the board.
enum class Order { State, Name, Kind, Reading };

inline constexpr std::array kOrderNames = { "state", "name", "kind", "reading" };

bool precedes( const Observation& a, const Observation& b, Order order );

}  // namespace Host
