#pragma once

#include <cstdint>

namespace Smbus {
class TransactionRequest;
class TransactionResponse;
}  // namespace Smbus

// Tells the host of each batch, where pl_host.h was asked to.
namespace PlatformLibrary {

bool isWireWatched();

// An answer of null: none came. What failed is the latest failure.
void tellWire( const Smbus::TransactionRequest&,
               const Smbus::TransactionResponse* answer,
               int64_t nanoseconds );

}  // namespace PlatformLibrary
