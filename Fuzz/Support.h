#pragma once

#include <cstdint>
#include <cstdlib>
#include <functional>
#include <string>
#include <vector>

// What the fuzzers share. Nobody sleeps here, and the library's assertions can be survived.
namespace Fuzz {

// A promise that does not hold ends the process.
inline void require( bool condition ) {
   if ( !condition ) {
      abort();
   }
}

// The parts of an input, which the byte 0x1E separates: `most` at most, of which the last then has
// all that is left. There is one at least.
std::vector< std::string > partsOf( const uint8_t* data, size_t size, size_t most );

// Runs what may end early as the library's interface says: with an assertion, for an operation that
// a driver does not have, for text that is no number, or for a block that a simulation does not
// have. Whether it came to its end.
bool completes( const std::function< void() >& run );

}  // namespace Fuzz
