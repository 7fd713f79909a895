#include "Drivers/BCM59121/ReportSections.h"

#include <fmt/format.h>

#include "Drivers/BCM59121/Answers.h"
#include "Drivers/BCM59121/Commands.h"

namespace Drivers::Poe {

namespace {

using Response = const std::string&;

constexpr double kLimitStep = 0.2;          // watts
constexpr double kBudgetStep = 0.1;         // watts
constexpr double kLockOutStep = 0.06445;    // volts
constexpr double kUnderVoltageBase = 33.0;  // volts
constexpr double kOverVoltageBase = 57.0;   // volts

// Bits of the controller's state.
constexpr uint8_t kConfigurationDirty = 0x01;
constexpr uint8_t kWasReset = 0x02;
constexpr uint8_t kGlobalDisable = 0x04;

std::string nameOf( uint8_t code, std::initializer_list< const char* > names ) {
   return code < names.size() ? names.begin()[ code ] : fmt::format( "unknown ({})", code );
}

std::string watts( double value ) {
   return fmt::format( "{:.1f} W", value );
}

std::string className( uint8_t code ) {
   auto deviceClass = deviceClassOf( code );
   return deviceClass == PL_POE_CLASS_UNKNOWN ? "unknown" : std::to_string( deviceClass );
}

std::string channel( uint8_t code, uint8_t deviceClass ) {
   return fmt::format( "0x{:02x}, class {}", code, className( deviceClass ) );
}

// Values of a byte of the response.

template < size_t kByte >
std::string number( Response response ) {
   return std::to_string( byteAt( response, kByte ) );
}

template < size_t kByte >
std::string yesOrNo( Response response ) {
   return nameOf( byteAt( response, kByte ), { "no", "yes" } );
}

template < size_t kByte, uint8_t kBit >
std::string bit( Response response ) {
   return byteAt( response, kByte ) & kBit ? "yes" : "no";
}

template < size_t kByte >
std::string hexadecimal( Response response ) {
   return fmt::format( "0x{:02x}", byteAt( response, kByte ) );
}

template < size_t kByte >
std::string budget( Response response ) {
   return watts( wordAt( response, kByte ) * kBudgetStep );
}

template < size_t kByte >
std::string powerUpMode( Response response ) {
   return nameOf( byteAt( response, kByte ),
                  { "PoE", "legacy", "pre-PoE+", "PoE+", "4", "two channels" } );
}

// Values of which there is one.

std::string status( Response response ) {
   return nameOf( PortStatus( response ).status,
                  { "disabled", "searching", "delivering power", "test", "fault", "other fault",
                    "requesting power" } );
}

std::string detail( Response response ) {
   PortStatus port( response );
   return isOverload( port ) ? "overload" : std::to_string( port.detail );
}

std::string deviceClass( Response response ) {
   return className( PortStatus( response ).deviceClass );
}

std::string pairMode( Response response ) {
   return nameOf( PortStatus( response ).pairMode,
                  { "unknown", "primary", "alternative", "both" } );
}

std::string detection( Response response ) {
   return nameOf( byteAt( response, 5 ),
                  { "none", "legacy", "four-point", "four-point, then legacy" } );
}

std::string limitType( Response response ) {
   return nameOf( byteAt( response, 4 ), { "none", "class", "user" } );
}

std::string limit( Response response ) {
   return watts( byteAt( response, 5 ) * kLimitStep );
}

std::string voltage( Response response ) {
   return fmt::format( "{:.2f} V", voltsOf( response ) );
}

std::string current( Response response ) {
   return fmt::format( "{:.3f} A", amperesOf( response ) );
}

std::string temperature( Response response ) {
   return fmt::format( "{:.1f} degrees", celsiusOf( response ) );
}

std::string power( Response response ) {
   return watts( wattsOf( response ) );
}

std::string primaryPower( Response response ) {
   return watts( primaryWattsOf( response ) );
}

std::string alternativePower( Response response ) {
   return watts( alternativeWattsOf( response ) );
}

std::string primaryChannel( Response response ) {
   Channels channels( response );
   return channel( channels.primary, channels.primaryClass );
}

std::string alternativeChannel( Response response ) {
   Channels channels( response );
   return channel( channels.alternative, channels.alternativeClass );
}

std::string deviceId( Response response ) {
   return fmt::format( "0x{:04x}", wordAt( response, 5 ) );
}

std::string mode( Response response ) {
   return nameOf( byteAt( response, 2 ), { "semi-automatic, I2C", "semi-automatic, UART",
                                           "automatic, I2C", "automatic, UART" } );
}

std::string underVoltage( Response response ) {
   return fmt::format( "{:.2f} V", byteAt( response, 2 ) * kLockOutStep + kUnderVoltageBase );
}

std::string overVoltage( Response response ) {
   return fmt::format( "{:.2f} V", byteAt( response, 7 ) * kLockOutStep + kOverVoltageBase );
}

std::string isMapped( Response response ) {
   return isPortMapConfigured( response ) ? "yes" : "no";
}

// A number in angle brackets is the byte of the response.

constexpr Field kStatusFields[] = {
   { "Port status", status },
   { "Status detail", detail },
   { "Device class", deviceClass },
   { "Device type", number< 6 > },
   { "Shut-off mask", hexadecimal< 7 > },
   { "Pair mode", pairMode },
};

constexpr Field kConfigurationFields[] = {
   { "Enabled", yesOrNo< 3 > },        { "Automatic power-up", yesOrNo< 4 > },
   { "Detection", detection },         { "Classification", yesOrNo< 6 > },
   { "Disconnect type", number< 7 > }, { "Pairs", number< 8 > },
};

constexpr Field kLimitFields[] = {
   { "Power-up mode", powerUpMode< 3 > }, { "Limit type", limitType }, { "Limit", limit },
   { "Priority", number< 6 > },           { "Output", number< 7 > },
};

constexpr Field kMeasurementFields[] = {
   { "Voltage", voltage },
   { "Current", current },
   { "Power", power },
   { "Controller temperature", temperature },
};

constexpr Field kChannelPowerFields[] = {
   { "Primary", primaryPower },
   { "Alternative", alternativePower },
};

constexpr Field kChannelFields[] = {
   { "Primary", primaryChannel },
   { "Alternative", alternativeChannel },
};

constexpr Field kCounterFields[] = {
   { "Overload", number< 3 > },          { "Short circuit", number< 4 > },
   { "Power denied", number< 5 > },      { "Power signature absent", number< 6 > },
   { "Invalid signature", number< 7 > },
};

constexpr Field kBudgetFields[] = {
   { "Consumed", budget< 2 > },
   { "Budget", budget< 4 > },
};

constexpr Field kSystemFields[] = {
   { "Firmware version", firmwareVersionOf },
   { "Device id", deviceId },
   { "Controller type", number< 8 > },
   { "Mode", mode },
   { "Ports", number< 3 > },
   { "Port map enabled", yesOrNo< 4 > },
   { "4-pair map configured", isMapped },
   { "Configuration dirty", bit< 9, kConfigurationDirty > },
   { "Reset since last asked", bit< 9, kWasReset > },
   { "Disabled by pin", bit< 9, kGlobalDisable > },
};

constexpr Field kDeviceFields[] = {
   { "Under-voltage lock-out", underVoltage }, { "Over-voltage lock-out", overVoltage },
   { "Pre-allocation", number< 3 > },          { "Power-up mode", powerUpMode< 4 > },
   { "Disconnect order", number< 5 > },        { "Power sourcing chips", number< 8 > },
};

constexpr Section kSections[] = {
   { "Port", kPortStatus, true, false, kStatusFields },
   { "Configuration", kPortConfiguration, true, false, kConfigurationFields },
   { "Limits", kPortExtended, true, false, kLimitFields },
   { "Measurements", kMeasurements, true, false, kMeasurementFields },
   { "Channel power", kChannelPower, true, true, kChannelPowerFields },
   { "Channels", kChannels, true, true, kChannelFields },
   { "Counters", kCounters, true, false, kCounterFields },
   { "Power management", kPowerBudget, false, false, kBudgetFields },
   { "System", kSystem, false, false, kSystemFields },
   { "Device", kDevice, false, true, kDeviceFields },
};

}  // namespace

std::span< const Section > reportSections() {
   return kSections;
}

}  // namespace Drivers::Poe
