#pragma once

#include <string>
#include <vector>

#include "BoardFiles/Finding.h"
#include "Host/Output/Table.h"
#include "Host/Session/Row.h"

// What the program prints. The JSON documents share one shape: "board", "objects" and "ok", beside
// which "findings" or "error" say why there are no objects.
namespace Host {

using namespace BoardFiles;

std::string rowsTable( const std::vector< Row >& rows, const TableStyle& style );

// The reading with its unit.
std::string readingText( const Row& row );

std::string rowsJson( const std::string& board, const std::vector< Row >& rows );
// The answer, or why there is none.
std::string smbusJson( const std::string& board,
                       const std::string& object,
                       const std::string& operation,
                       const std::string& answer,
                       const std::string& failure );
std::string findingsJson( const std::string& board, const std::vector< Finding >& findings );
std::string errorJson( const std::string& board, const std::string& error );

}  // namespace Host
