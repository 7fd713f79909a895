#pragma once

#include <optional>
#include <string>

#include "Utils/Json.h"

namespace BoardFiles {

// Why a driver stops at the value that it is given for an argument, or takes it for another one, as
// the end of a sentence that begins with the value's place.
struct ArgumentProblem {
   std::string text;
   bool isWarning = false;  // the driver carries on
};

// Judges the value by the argument's rule in the table of drivers. Nothing where both agree.
std::optional< ArgumentProblem > problemOf( const Utils::Json::Value& value,
                                            const Utils::Json::Value& rule );

// Whether the driver is given the argument: null, and an empty text where it may be, stand for
// none.
bool isGiven( const Utils::Json::Value* value, const Utils::Json::Value& rule );

// The integer that the driver reads; nothing where it stops.
std::optional< int > integerOf( const Utils::Json::Value& value, const Utils::Json::Value& rule );

}  // namespace BoardFiles
