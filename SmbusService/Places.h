#pragma once

#include <sys/types.h>

#include <chrono>
#include <optional>
#include <string>
#include <vector>

namespace SmbusService {

// How many clients a socket serves at once.
struct PlaceLimits {
   size_t all;
   size_t roots;   // of these, which nobody else takes
   size_t ofUser;  // other than root
   // A client that had nothing in hand for as long gives its place to one that comes when there is
   // no other.
   std::chrono::milliseconds leastIdle = std::chrono::seconds( 1 );
};

// A client that has a place.
struct Occupant {
   uid_t user;
   std::optional< std::chrono::steady_clock::time_point > idleSince;
};

struct Place {
   std::string whyNot;              // empty where there is a place
   std::optional< size_t > leaves;  // the occupant that has to give it up
};

// The place for one more client of the user: of those that are idle, the user's own leave first,
// and then those that have been idle longest.
Place placeFor( uid_t user, const std::vector< Occupant >&, const PlaceLimits& );

}  // namespace SmbusService
