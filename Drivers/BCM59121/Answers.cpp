#include "Drivers/BCM59121/Answers.h"

#include <fmt/format.h>

#include <algorithm>

#include "Drivers/BCM59121/Commands.h"

namespace Drivers::Poe {

namespace {

// Bytes of the responses.
constexpr size_t kVoltage = 3;
constexpr size_t kCurrent = 5;
constexpr size_t kTemperature = 7;
constexpr size_t kPower = 9;
constexpr size_t kPrimaryPower = 3;
constexpr size_t kAlternativePower = 5;
constexpr size_t kFirstCrcFlags = 3;
constexpr size_t kLastCrcFlags = 10;
constexpr size_t kCrcGood = 8;
constexpr size_t kVersion = 7;
constexpr size_t kSystemStatus = 9;
constexpr size_t kExtendedVersion = 10;

constexpr double kMillivolts = 64.45;
constexpr double kPerMilli = 0.001;
constexpr double kWatts = 0.1;

constexpr uint8_t kCrcFault = 0x04;
constexpr uint8_t kMapConfigured = 0x08;

// Status codes of a port, and details of its faults.
constexpr uint8_t kDisabled = 0;
constexpr uint8_t kSearching = 1;
constexpr uint8_t kDelivering = 2;
constexpr uint8_t kFault = 4;
constexpr uint8_t kOtherFault = 5;
constexpr uint8_t kRequesting = 6;
constexpr uint8_t kOverload = 3;
constexpr uint8_t kSearchingAgain = 4;
constexpr uint8_t kBothRequest = 2;

// Of a channel.
constexpr uint8_t kStatusMask = 0x0F;
constexpr uint8_t kPowered = 0x04;
constexpr uint8_t kHalfLimit = 0x14;

pl_poe_port_state faultStateOf( uint8_t detail ) {
   switch ( detail ) {
      case kOverload:
         return PL_POE_PORT_OVERLOAD;
      case kSearchingAgain:
         return PL_POE_PORT_SEARCHING;
      default:
         return PL_POE_PORT_FAULT;
   }
}

pl_poe_port_state portStateOf( const PortStatus& port, bool isRequestDual ) {
   switch ( port.status ) {
      case kDisabled:
         return PL_POE_PORT_DISABLED;
      case kSearching:
         return PL_POE_PORT_SEARCHING;
      case kDelivering:
         return PL_POE_PORT_POWERED;
      case kFault:
      case kOtherFault:
         return faultStateOf( port.detail );
      case kRequesting:
         return isRequestDual ? PL_POE_PORT_REQUESTING_DUAL : PL_POE_PORT_REQUESTING;
      default:
         return PL_POE_PORT_FAULT;
   }
}

pl_poe_port_state channelStateOf( uint8_t channel, pl_poe_port_state port ) {
   if ( ( channel & kStatusMask ) == kPowered ) {
      return port == PL_POE_PORT_POWERED ? PL_POE_PORT_POWERED : PL_POE_PORT_REQUESTING;
   }
   return port == PL_POE_PORT_DISABLED ? PL_POE_PORT_DISABLED : PL_POE_PORT_SEARCHING;
}

pl_poe_port_pair_state pairStateOf( uint8_t mode ) {
   return mode <= PL_POE_PAIR_BOTH ? static_cast< pl_poe_port_pair_state >( mode )
                                   : PL_POE_PAIR_UNKNOWN;
}

}  // namespace

double voltsOf( const std::string& response ) {
   return measurementAt( response, kVoltage, kMillivolts ) * kPerMilli;
}

double amperesOf( const std::string& response ) {
   return measurementAt( response, kCurrent, kPerMilli );
}

double celsiusOf( const std::string& response ) {
   return getTemperatureVal( static_cast< int8_t >( byteAt( response, kTemperature ) ),
                             byteAt( response, kTemperature + 1 ) );
}

double wattsOf( const std::string& response ) {
   return measurementAt( response, kPower, kWatts );
}

double primaryWattsOf( const std::string& response ) {
   return measurementAt( response, kPrimaryPower, kWatts );
}

double alternativeWattsOf( const std::string& response ) {
   return measurementAt( response, kAlternativePower, kWatts );
}

PortStatus::PortStatus( const std::string& response )
    : status( byteAt( response, 3 ) ),
      detail( byteAt( response, 4 ) ),
      deviceClass( byteAt( response, 5 ) ),
      deviceType( byteAt( response, 6 ) ),
      shutOffMask( byteAt( response, 7 ) ),
      pairMode( byteAt( response, 9 ) ),
      request( byteAt( response, 10 ) ) {}

Channels::Channels( const std::string& response )
    : primary( byteAt( response, 3 ) ),
      primaryClass( byteAt( response, 4 ) ),
      alternative( byteAt( response, 7 ) ),
      alternativeClass( byteAt( response, 8 ) ) {}

bool isOverload( const PortStatus& port ) {
   return ( port.status == kFault || port.status == kOtherFault ) && port.detail == kOverload;
}

bool takesHalfLimit( uint8_t channel ) {
   return channel == kHalfLimit;
}

PowerState powerStateOf( const PortStatus& port, const Channels& channels, bool hasTwoChannels ) {
   bool isRequestDual = hasTwoChannels && takesHalfLimit( channels.primary ) &&
                        takesHalfLimit( channels.alternative ) && port.request == kBothRequest;
   pl_poe_port_state state = portStateOf( port, isRequestDual );
   return { .port = state,
            .primary = channelStateOf( channels.primary, state ),
            .alternative = channelStateOf( channels.alternative, state ),
            .pairs = pairStateOf( port.pairMode ) };
}

pl_poe_device_class deviceClassOf( uint8_t code ) {
   return static_cast< pl_poe_device_class >( std::min< uint8_t >( code, PL_POE_CLASS_UNKNOWN ) );
}

bool isFirmwareCrcGood( const std::string& response ) {
   for ( size_t i = kFirstCrcFlags; i <= kLastCrcFlags; ++i ) {
      if ( byteAt( response, i ) & kCrcFault ) {
         return false;
      }
   }
   return true;
}

bool isCrcGood( const std::string& response ) {
   return byteAt( response, kCrcGood ) != 0;
}

bool lacksFirmware( const std::string& response ) {
   return check( kNoFirmware, response ) == PL_STATUS_OK;
}

std::string firmwareVersionOf( const std::string& response ) {
   return fmt::format( "{}.{}", byteAt( response, kVersion ),
                       byteAt( response, kExtendedVersion ) );
}

bool isPortMapConfigured( const std::string& response ) {
   return byteAt( response, kSystemStatus ) & kMapConfigured;
}

}  // namespace Drivers::Poe
