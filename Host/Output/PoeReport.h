#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "Host/Output/Table.h"
#include "Host/Session/PoeReading.h"

// What the program prints of PoE ports.
namespace Host {

// A controller's ports, in the board's order.
struct PoeController {
   std::optional< uint32_t > did;
   std::vector< PoePort > ports;
};

// "controller 12": the device's number.
std::string controllerName( const std::optional< uint32_t >& did );

// Every port was read, and none has a fault.
bool allWell( const std::vector< PoeController >& controllers );

// One table of all ports, and a line for each controller.
std::string poeTable( const std::vector< PoePort >& ports,
                      const std::vector< PoeController >& controllers,
                      const TableStyle& style );
std::string poeJson( const std::string& board,
                     const std::vector< PoePort >& ports,
                     const std::vector< PoeController >& controllers );

// What the library tells of one port at length.
struct PoeTexts {
   std::string information;
   std::string debugReport;
};

std::string poeTextsJson( const std::string& board,
                          const Observation& port,
                          const PoeTexts& texts );

// How the firmware of the controller that a port belongs to was seen to.
struct PoeFirmwareOutcome {
   std::optional< uint32_t > did;
   Observation port;
};

std::string poeFirmwareJson( const std::string& board,
                             const std::vector< PoeFirmwareOutcome >& outcomes );

}  // namespace Host
