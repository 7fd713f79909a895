#pragma once

namespace Utils {

// Occupies the standard streams that the caller of the program has closed, so that no socket or
// file takes their numbers. Writing to a missing output fails. To be called first.
void openStandardStreams();

}  // namespace Utils
