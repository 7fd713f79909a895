#pragma once

#include <string>

#include "Drivers/BCM59121/Message.h"

// What the controller's responses say of a port.
namespace Drivers::Poe {

// Of kMeasurements.
double voltsOf( const std::string& response );
double amperesOf( const std::string& response );
double celsiusOf( const std::string& response );  // of the controller
double wattsOf( const std::string& response );

// Of kChannelPower.
double primaryWattsOf( const std::string& response );
double alternativeWattsOf( const std::string& response );

// The codes of a port, of kPortStatus.
struct PortStatus {
   explicit PortStatus( const std::string& response );

   uint8_t status;
   uint8_t detail;
   uint8_t deviceClass;
   uint8_t deviceType;
   uint8_t shutOffMask;
   uint8_t pairMode;
   uint8_t request;  // which channels ask for power
};

// The codes of its channels, of kChannels.
struct Channels {
   explicit Channels( const std::string& response );

   uint8_t primary;
   uint8_t primaryClass;
   uint8_t alternative;
   uint8_t alternativeClass;
};

// Whether a port that has a fault was overloaded.
bool isOverload( const PortStatus& port );

// A channel of the type that takes half of a port's power limit.
bool takesHalfLimit( uint8_t channel );

struct PowerState {
   pl_poe_port_state port;
   pl_poe_port_state primary;
   pl_poe_port_state alternative;
   pl_poe_port_pair_state pairs;
};
PowerState powerStateOf( const PortStatus& port, const Channels& channels, bool hasTwoChannels );

pl_poe_device_class deviceClassOf( uint8_t code );

// Whether no bank's memory has a fault (kCrcStatusOfFirmware), or the one asked for (kCrcStatus).
bool isFirmwareCrcGood( const std::string& response );
bool isCrcGood( const std::string& response );

// Of kSystem. A controller without firmware answers so to everything.
bool lacksFirmware( const std::string& response );
std::string firmwareVersionOf( const std::string& response );
bool isPortMapConfigured( const std::string& response );

}  // namespace Drivers::Poe
