#pragma once

#include <optional>

#include "Utils/Json.h"

namespace BoardFiles {

// The speeds between which a fan is driven, in rpm, as far as they are known.
struct FanRange {
   std::optional< int > min = {};
   std::optional< int > max = {};

   // What a fan of objects.json says itself, else what its driver is told. The document must
   // satisfy its schema.
   static FanRange of( const Utils::Json::Value& fan );
   static FanRange ofDriver( const Utils::Json::Value& fan );
};

}  // namespace BoardFiles
