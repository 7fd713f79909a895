#pragma once

#include <optional>
#include <string>
#include <vector>

#include "Host/Session/EmulatorControl.h"

namespace Host {

// A quantity's value, to as many digits as chips tell.
std::string quantityText( double value );

// The chips; those with many quantities with the first of them.
std::string chipsTable( const std::vector< EmulatedChip >& chips );

// All of a chip's quantities.
std::string quantitiesTable( const EmulatedChip& chip );

std::string chipsJson( const std::string& board, const std::vector< EmulatedChip >& chips );

// Of a request that was met, with what was asked for, if anything was.
std::string valueJson( const std::string& board, std::optional< double > value );

}  // namespace Host
