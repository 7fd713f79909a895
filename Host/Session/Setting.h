#pragma once

#include <map>
#include <string>

#include "BoardFiles/Board.h"
#include "pl.h"

namespace Host {

using namespace BoardFiles;

// What an object can be set to: a pl_led_status, a fan's rpm, a GPIO's bit.
using Settings = std::map< size_t, int >;  // by the object's position on the board

// The setting that a user's text means for the object: an LED's status by name, a fan's rpm, 0 or 1
// for a GPIO. Throws StartError.
int parseSetting( const ObjectSpec& object, const std::string& text );

// Drives the object; belongs into a worker.
pl_status setObject( Kind kind, void* object, int setting );

// The board's object with this name, as its position. Throws StartError with the names there are.
size_t findObject( const Board& board, const std::string& name );

}  // namespace Host
