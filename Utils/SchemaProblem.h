#pragma once

#include <string>

#include "Utils/Json.h"

namespace Utils::Json {

// What is wrong with a value that breaks the schema's rule `keyword`, as the end of a sentence that
// begins with the value's place.
std::string schemaProblem( const std::string& keyword, const Value& value, const Value& schema );

}  // namespace Utils::Json
