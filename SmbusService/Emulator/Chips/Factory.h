#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "SmbusService/Emulator/Chip.h"

namespace SmbusService::Emulator {

// A new chip of the model, null when there is no model of that name.
std::unique_ptr< Chip > newChip( std::string_view model );

std::vector< std::string > modelNames();

}  // namespace SmbusService::Emulator
