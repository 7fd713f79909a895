#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace Host {

// The end of a sentence about a name that is none of `names`: the one that was likely meant, else
// all of them, or where they are many how many and the command that shows them.
std::string whatThereIs( std::string_view wanted,
                         const std::vector< std::string >& names,
                         std::string_view command );

}  // namespace Host
