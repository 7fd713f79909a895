#pragma once

#include "BoardFiles/Checks.h"
#include "BoardFiles/Documents.h"

namespace BoardFiles {

// Adds to the wiring what objects say of its devices, and reports the mistakes that a schema cannot
// express. The document must satisfy its schema.
void checkObjects( const BoardFile& objects, const Checks& checks );

}  // namespace BoardFiles
