#pragma once

#include <string>

// The errno values that transfers fail with.
namespace SmbusService {

bool isNoAcknowledge( int error );

// A repetition may succeed.
bool isPassing( int error );

// `no acknowledge`
std::string wordsFor( int error );

}  // namespace SmbusService
