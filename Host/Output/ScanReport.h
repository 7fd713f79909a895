#pragma once

#include <string>
#include <vector>

#include "BoardFiles/Board.h"
#include "Host/Output/Table.h"
#include "Host/Session/Scan.h"

namespace Host {

// One bus: a grid of its addresses, and a list of what is declared there or answers.
std::string scanText( const Wiring& wiring, const ScannedBus& bus, const TableStyle& style );

// What the marks of the grids mean, and how many devices answer.
std::string scanSummary( const std::vector< ScannedBus >& busses, const TableStyle& style );

// `error` tells why the scan was given up; empty where it was not.
std::string scanJson( const Board& board,
                      const std::vector< ScannedBus >& busses,
                      const std::string& error );

}  // namespace Host
