#pragma once

#include <string>

namespace Host {

// Asks on the terminal whether to go on. Throws UseError, which begins with `why`, where nobody can
// be asked.
bool isAgreed( const std::string& question, const std::string& why );

}  // namespace Host
