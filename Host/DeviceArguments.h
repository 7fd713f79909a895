#pragma once

#include <string>
#include <vector>

#include "Host/Error.h"
#include "Utils/Json.h"

namespace Host {

// Driver arguments that reach the driver as something else than what the document says.
void checkDriverArguments( const Utils::Json::Value& device,
                           const std::string& pointer,
                           const std::string& file,
                           std::vector< Finding >& findings );

}  // namespace Host
