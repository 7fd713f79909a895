#pragma once

#include <string>

#include "Utils/Json.h"

namespace BoardFiles {

// What is wrong with a value that breaks the schema's rule `keyword`, as the end of a sentence that
// begins with the value's place.
std::string schemaProblem( const std::string& keyword,
                           const Utils::Json::Value& value,
                           const Utils::Json::Value& schema );

}  // namespace BoardFiles
