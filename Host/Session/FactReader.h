#pragma once

#include "Host/Session/KindOperations.h"

namespace Host {

// In the worker: everything that the object's callbacks tell, each for itself, as the text of a
// reading that factsIn() takes apart. The first fact is what objects of the kind read.
Reading readFacts( Kind kind, void* object );

}  // namespace Host
