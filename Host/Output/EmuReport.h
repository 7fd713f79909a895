#pragma once

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

// As control-answer.schema.json has it.
std::string chipsJson( const std::vector< EmulatedChip >& chips );

}  // namespace Host
