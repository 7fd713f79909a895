#pragma once

// The texts of Boards/schemas, part of the program so that it runs anywhere.
namespace BoardFiles::Schemas {

extern const char* const kTopology;
extern const char* const kObjects;
extern const char* const kEmulation;
extern const char* const kAdapters;
extern const char* const kPolicy;
extern const char* const kControl;
extern const char* const kControlAnswer;
extern const char* const kWireLog;
extern const char* const kDrivers;  // no schema, a table: DriverTable.h

}  // namespace BoardFiles::Schemas
