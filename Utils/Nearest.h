#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Utils {

// The name that somebody who wrote `wanted` is likely to have meant: the one with the fewest
// letters missing, added, changed or swapped, whatever their case; at most one in three, and three
// in all. Nothing where no name is that near; of several equally near the first.
std::optional< std::string > nearest( std::string_view wanted,
                                      const std::vector< std::string >& names );

// `; did you mean "NAME"?`, or nothing: the end of a sentence that tells of an unknown name.
std::string didYouMean( std::string_view wanted, const std::vector< std::string >& names );

}  // namespace Utils
