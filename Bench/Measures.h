#pragma once

#include "Bench/Report.h"

namespace Bench {

void measureRoundTrip( Report& report );     // a reading through socket and emulator
void measureLibraryShare( Report& report );  // a reading without socket
void measureTopology( Report& report );      // loading 10,000 devices
void measureAdding( Report& report );        // objects on boards of 100 and 10,000 devices
void measureMemory( Report& report );        // of a loaded topology
void measureSimulation( Report& report );    // a reading from a simulation file
void measurePoe( Report& report );           // all ports of a PoE controller
void measureClients( Report& report );       // 16 clients of the service
void measureSweep( Report& report );         // the demo board's objects, in lanes
void measureNeighbour( Report& report );     // a reading beside a PoE controller's
void measurePrograms( Report& report );      // `lumen status` and `lumen watch`
void measureWireLog( Report& report );       // a transfer with the wire log in a file

}  // namespace Bench
