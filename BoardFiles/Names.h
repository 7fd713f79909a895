#pragma once

#include <string>
#include <vector>

#include "BoardFiles/Kind.h"

namespace BoardFiles {

// What a board's documents call things, for who only wants the names: each reads one document and
// takes of it what is sound, nothing where it cannot be read.

struct NamedObject {
   std::string name;
   Kind kind;
};

std::vector< NamedObject > objectNames( const std::string& directory );

// The labels of devices; and of media, busses and channels.
std::vector< std::string > deviceLabels( const std::string& directory );
std::vector< std::string > busLabels( const std::string& directory );

}  // namespace BoardFiles
