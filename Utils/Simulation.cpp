#include "Utils/Simulation.h"

#include <cstdlib>

namespace Utils {

int isInSimulation = -1;

bool inSimulation() {
   if ( isInSimulation < 0 ) {
      isInSimulation = getenv( "SIMULATION_VMID" ) != nullptr;
   }
   return isInSimulation;
}

}  // namespace Utils
