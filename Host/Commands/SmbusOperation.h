#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "pl.h"

namespace Host {

// One transaction through a raw SMBus endpoint, as a user gives it.
struct SmbusOperation {
   std::string name;                           // read-byte, block-write, ...
   std::vector< std::string > arguments = {};  // numbers, decimal or hexadecimal
   unsigned registerSize = 1;
};

// The operations and their arguments, one line each, for the help text.
std::string smbusOperationsHelp();

// Throws StartError unless the operation exists and its arguments are in range.
void checkSmbusOperation( const SmbusOperation& operation );

// Runs a checked operation; belongs into a worker. `answer` receives what was read, in hexadecimal:
// one number, or a block's bytes with blanks between.
pl_status runSmbusOperation( pl_smbus* smbus,
                             const SmbusOperation& operation,
                             std::string& answer );

}  // namespace Host
