#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "BoardFiles/Finding.h"
#include "BoardFiles/Place.h"
#include "Utils/Json.h"

namespace BoardFiles {

// A decimal number, or a hexadecimal one behind "0x".
std::optional< uint32_t > numberIn( std::string_view text );

// Numbers from the first to the last one, both included.
struct NumberRange {
   uint32_t first;
   uint32_t last;

   bool operator==( const NumberRange& ) const = default;
};

// Reads a list of integers and of texts such as "0x50", "80" and "0x50-0x57", each within
// `limits`, which the findings call `what`. Sorted; ranges that touch each other are one.
std::vector< NumberRange > readRanges( const Utils::Json::Value& list,
                                       const NumberRange& limits,
                                       const char* what,
                                       const Place& place,
                                       std::vector< Finding >& findings );

// `0x50-0x57, 0x60`
std::string textOf( const std::vector< NumberRange >& ranges );

}  // namespace BoardFiles
