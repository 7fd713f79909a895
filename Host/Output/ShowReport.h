#pragma once

#include <string>
#include <vector>

#include "BoardFiles/Board.h"
#include "Host/Session/Fact.h"
#include "Host/Session/Observation.h"

// What the program prints of everything that objects tell.
namespace Host {

struct ShownObject {
   Observation observation;
   std::vector< Fact > facts;  // beyond the observation's own reading
};

// From the observation of an object that readFacts() read.
ShownObject shownObject( const Board& board, const Observation& observation );

// The object is, and each of the facts could be read.
bool isWell( const ShownObject& object );

// A block of lines of a label and a value; texts of several lines are indented below their label.
std::string showText( const Board& board, const ShownObject& object );

std::string showJson( const Board& board, const std::vector< ShownObject >& objects );

}  // namespace Host
