#pragma once

#include <optional>
#include <string>
#include <vector>

#include "BoardFiles/Board.h"
#include "Host/Session/Object.h"
#include "Host/Session/Reason.h"

namespace Host {

using namespace BoardFiles;

enum class State { Ok, Alert, Critical, Absent, Fault, Failed };

const char* stateName( State state );

// What is known of one object.
struct Row {
   const ObjectSpec* object;
   std::optional< double > reading;
   State state;
   std::string reason;  // of a fault or failure
};

Row readRow( const ObjectSpec& object, const Reading& reading, const Traces& traces );
Row failedRow( const ObjectSpec& object, std::string reason );

bool allOk( const std::vector< Row >& rows );

}  // namespace Host
