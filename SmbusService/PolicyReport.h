#pragma once

#include <optional>
#include <string>
#include <vector>

#include "SmbusService/Policy.h"

namespace SmbusService {

// Somebody, and what is asked about him.
struct PolicyQuestion {
   std::optional< std::string > user = {};    // name or uid
   std::vector< std::string > groups = {};    // names or gids, beside those of the user
   std::optional< std::string > device = {};  // label or did; none stands for all
};

// What a policy lets him do, a line for each device. Throws std::runtime_error for a user, group or
// device that does not exist.
std::string reportOn( const Policy&, const BoardFiles::Wiring&, const PolicyQuestion& );

}  // namespace SmbusService
