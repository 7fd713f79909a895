#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "Host/Output/SmbusReport.h"
#include "Host/Session/KindOperations.h"

namespace Host {

// One transaction through a raw SMBus endpoint, as a user gives it.
struct SmbusOperation {
   std::string name;                           // read-byte, block-write, ...
   std::vector< std::string > arguments = {};  // numbers, decimal or hexadecimal
   unsigned registerSize = 1;
};

// The operations and their arguments, one line each, for the help text.
std::string smbusOperationsHelp();

// Their names, with | in between.
std::string smbusOperationNames();

// Throws UseError unless the operation exists and its arguments are in range.
void checkSmbusOperation( const SmbusOperation& operation );

// Whether the checked operation sends the chip more than a register number.
bool isWrite( const SmbusOperation& operation );

// The form of what the checked operation reads.
Answer answerOf( const SmbusOperation& operation );

// Runs a checked operation; belongs into a worker. The reading's text is the bytes that were read.
Reading runSmbusOperation( pl_smbus* smbus, const SmbusOperation& operation );

}  // namespace Host
