#pragma once

namespace Utils {

// -1 until first needed, then 1 when the environment has SIMULATION_VMID and 0 otherwise, for the
// life of the process.
extern int isInSimulation;

bool inSimulation();

}  // namespace Utils
