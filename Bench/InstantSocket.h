#pragma once

#include <cstddef>

namespace Bench {

// While one lives, requests are answered at once, without a socket: each read gets zero bytes of
// the length it asks for.
class InstantSocket {
 public:
   InstantSocket();
   ~InstantSocket();
};

// Heap allocations of this process so far.
size_t allocations();

}  // namespace Bench
