#pragma once

#include <string>
#include <vector>

#include "BoardFiles/Finding.h"
#include "Host/Output/Table.h"
#include "Host/Session/Observation.h"

// What the program prints. The JSON documents share one shape: "board", "objects" and "ok", beside
// which "findings" or "error" say why there are no objects.
namespace Host {

using namespace BoardFiles;

std::string statusTable( const std::vector< Observation >& observations, const TableStyle& style );
std::string statusJson( const std::string& board, const std::vector< Observation >& observations );

// The reading with its unit, or what else the object told, or where there is neither the state.
std::string valueText( const Observation& observation );

// The reason, or where there is none the state.
std::string problemText( const Observation& observation );

// What a raw transaction answered, or why there is no answer.
std::string smbusJson( const std::string& board,
                       const std::string& operation,
                       const Observation& endpoint );
std::string findingsJson( const std::string& board, const std::vector< Finding >& findings );
std::string errorJson( const std::string& board, const std::string& error );

}  // namespace Host
