#pragma once

#include <string>

#include "Tests/faults/Report.h"

// The parts of the matrix. Each has services of its own, and adds rows to the report.
namespace Tests::Faults {

// Each step of a batch through two muxes is struck once by every kind of fault, of the bus, of the
// frame that answers, and of the service; `program` is its command up to the board.
void failBatchSteps( Report&, const std::string& program );

// Under reading clients the service is killed and started again, and stopped and continued.
void killService( Report&, unsigned times );
void stopService( Report&, unsigned times );

// More clients than the service has places or descriptors for; afterwards all are served.
void crowdService( Report& );

// Memory stays as it is while so many readings are made.
void readForLong( Report&, uint32_t readings );

}  // namespace Tests::Faults
