#pragma once

#include <string>
#include <vector>

#include "BoardFiles/Finding.h"
#include "Host/Output/JsonObject.h"
#include "Host/Output/Table.h"
#include "Host/Session/Observation.h"
#include "Host/Session/Order.h"
#include "Host/Session/SettingOperations.h"

// What the program prints of objects. The JSON documents share one shape: beside "objects" and
// "ok", "findings" or "error" say why there are no objects.
namespace Host {

using namespace BoardFiles;

std::vector< Observation > inOrder( std::vector< Observation > observations, Order order );

std::string statusTable( const std::vector< Observation >& observations,
                         const TableStyle& style,
                         Order order = Order::Kind );

// A line: how many there are, and how many of them are in which state.
std::string summaryText( const std::vector< Observation >& observations );

std::string statusJson( const std::string& board, const std::vector< Observation >& observations );
std::string statusJsonLine( const std::string& board,
                            const std::vector< Observation >& observations );

// What an object is like after it was set: to a number, or what a user's text says.
std::string setJson( const std::string& board,
                     const Observation& observation,
                     const Setting& setting,
                     const std::string& text );

// The limits in a few characters: "-5 / 75 / 85.5" (low where there is one, alert, critical),
// "3600 - 20000", "= 1", or "-".
std::string limitsText( const ObjectSpec& object );

// The state, with the reason, or with what the object tells at length: lines may break here.
std::string stateText( const Observation& observation );
Colour stateColour( State state );

// The reading without its unit, or a short text in its place.
std::string readingText( const Observation& observation );

// What follows the decimal point, with the point.
size_t fractionLength( const std::string& number );

// The reading with its unit, or what else the object told, or where there is neither the state.
std::string valueText( const Observation& observation );

// The reason, or where there is none the state.
std::string problemText( const Observation& observation );

// All that is known of an object.
JsonObject observationJson( const Observation& observation, JsonObject::Allocator& allocator );

std::string findingsJson( const std::string& board, const std::vector< Finding >& findings );
std::string errorJson( const std::string& board, const std::string& error );

}  // namespace Host
