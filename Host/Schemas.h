#pragma once

// The texts of Boards/schemas, part of the program so that it runs anywhere.
namespace Host::Schemas {

extern const char* const kTopology;
extern const char* const kObjects;
extern const char* const kEmulation;

}  // namespace Host::Schemas
