#pragma once

#include <string>

namespace Smbus {
class TransactionResponse;
}

// The latest failed exchange with the SMBus service, which pl_host.h hands to the host.
namespace PlatformLibrary {

// No usable answer came.
void noteNoAnswer( int error, const std::string& reason );

// The answer to a batch of `count` requests tells of a failure, or has not one response for each.
void noteAnswer( const Smbus::TransactionResponse&, int count );

}  // namespace PlatformLibrary
