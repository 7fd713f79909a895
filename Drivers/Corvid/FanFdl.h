#pragma once

#include <map>
#include <string>

#include "Drivers/Arguments.h"

// Texts that describe fan modules to the host, made of templates with placeholders such as
// {serialNum}.
namespace Drivers {

constexpr const char* kUnknownFdlValue = "N/A";

// Templates by the type id of the fan: the argument "fanFdlMapKey_<suffix>" is the decimal id,
// "fanFdlMapValue_<suffix>" its template. A key without its value is an assertion.
std::map< int, std::string > fanFdlTemplates( const Arguments& args );

// The template with these placeholders filled, each where the template has it.
std::string fillFdl( const std::string& fdl, const std::map< std::string, std::string >& values );

// What a chip tells, made fit for a quoted text of a template: without control characters, quotes,
// backslashes and braces. Unknown where nothing is left.
std::string fdlValue( const std::string& text );

}  // namespace Drivers
