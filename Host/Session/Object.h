#pragma once

#include <optional>

#include "BoardFiles/Board.h"
#include "Host/Session/DriverLibrary.h"

// One object of the driver library. Everything here may abort, hang or throw, as the library does:
// it belongs into a worker.
namespace Host {

using namespace BoardFiles;

struct Reading {
   pl_status status = PL_STATUS_OK;
   std::optional< double > value = {};  // of kinds that have one, when the status is PL_STATUS_OK
};

// The library's record of the kind, or null after a trace that says why. The spec must live as long
// as the object.
void* addObject( const Library& library, const ObjectSpec& spec );

Reading readObject( Kind kind, void* object );

}  // namespace Host
