#include <fmt/format.h>

#include <charconv>

#include "SmbusService/Emulator/Chips/BCM59121.h"

namespace SmbusService::Emulator {

namespace {

constexpr double kHighestBudget = 6553.5;  // watts; as messages can tell it

// Takes a number as what the field is: on or off, whole, or as it stands.
template < typename Field >
void assign( Field& field, double value ) {
   if constexpr ( std::is_floating_point_v< Field > ) {
      field = value;
   } else {
      field = static_cast< Field >( std::lround( value ) );
   }
}

}  // namespace

template < auto member >
constexpr BCM59121::Quantity BCM59121::ofSurroundings( std::string_view name,
                                                       double low,
                                                       double high ) {
   return {
      .name = name,
      .get = []( const BCM59121& chip, size_t ) -> double { return chip.around_.*member; },
      .set = []( BCM59121& chip, size_t, double value ) { assign( chip.around_.*member, value ); },
      .low = low,
      .high = high };
}

template < auto member >
constexpr BCM59121::Quantity BCM59121::ofDevice( std::string_view name, double high ) {
   return { .name = name,
            .get = []( const BCM59121& chip, size_t port ) -> double {
               return chip.around_.devices[ port ].*member;
            },
            .set = []( BCM59121& chip, size_t port,
                       double value ) { assign( chip.around_.devices[ port ].*member, value ); },
            .high = high };
}

constexpr BCM59121::Quantity BCM59121::kOfController[] = {
   ofSurroundings< &PoeSurroundings::ports >( "ports", 1, kMaxPoePorts ),
   ofSurroundings< &PoeSurroundings::atPorts >( "atPorts", 0, kMaxPoePorts ),
   ofSurroundings< &PoeSurroundings::budget >( "budget", 0, kHighestBudget ),
   ofSurroundings< &PoeSurroundings::celsius >( "temperature", -40, 150 ),
   ofSurroundings< &PoeSurroundings::failedSupplies >( "supplyFailed", 0, 255 ),
   { .name = "firmwareMissing",
     .get = []( const BCM59121& chip, size_t ) -> double { return !chip.loader_.isRunning(); },
     .set = []( BCM59121& chip,
                size_t,
                double value ) { chip.setFirmwareMissing( std::lround( value ) ); } },
   { .name = "busy",
     .get = []( const BCM59121& chip, size_t ) { return chip.busy(); },
     .set = []( BCM59121& chip, size_t, double value ) { chip.setBusy( value ); },
     .high = 3600 },
   { .name = "consumption",
     .get = []( const BCM59121& chip, size_t ) { return chip.ports_.consumption(); } },
   { .name = "commands",
     .get = []( const BCM59121& chip, size_t ) -> double { return chip.commands_; } },
   { .name = "lastCommand",
     .get = []( const BCM59121& chip, size_t ) -> double { return chip.lastCommand_; } },
};

constexpr BCM59121::Quantity BCM59121::kOfPort[] = {
   ofDevice< &PoeDevice::isPlugged >( "device" ),
   ofDevice< &PoeDevice::deviceClass >( "class", kHighestPoeClass ),
   ofDevice< &PoeDevice::draw >( "draw", 100 ),
   ofDevice< &PoeDevice::isShorted >( "short" ),
   ofDevice< &PoeDevice::isDual >( "dual" ),
   { .name = "crcErrors",
     .get = []( const BCM59121& chip, size_t port ) -> double {
        return chip.firmware_.crcErrors[ port ];
     },
     .set = []( BCM59121& chip,
                size_t port,
                double value ) { assign( chip.firmware_.crcErrors[ port ], value ); },
     .high = 255 },
   { .name = "watts",
     .get = []( const BCM59121& chip, size_t port ) { return chip.ports_.watts( port ); } },
   { .name = "powered",
     .get = []( const BCM59121& chip, size_t port ) -> double {
        return chip.ports_[ port ].status == PoeStatus::kDelivering;
     } },
   { .name = "enabled",
     .get = []( const BCM59121& chip, size_t port ) -> double {
        return chip.ports_.settings.ports[ port ].isEnabled;
     },
     .set = []( BCM59121& chip,
                size_t port,
                double value ) { chip.firmware_.leaveEnabled( port, std::lround( value ) ); } },
   { .name = "limit",
     .get = []( const BCM59121& chip, size_t port ) { return chip.ports_.limit( port ); } },
};

std::vector< std::string > BCM59121::quantities() const {
   std::vector< std::string > names;
   for ( const Quantity& quantity : kOfController ) {
      names.emplace_back( quantity.name );
   }
   for ( size_t port = 0; port < around_.ports; ++port ) {
      for ( const Quantity& quantity : kOfPort ) {
         names.push_back( fmt::format( "{}{}", quantity.name, port ) );
      }
   }
   return names;
}

void BCM59121::set( std::string_view name, double value ) {
   auto [ quantity, port ] = find( name );
   if ( !quantity.set ) {
      refuseToSet( name );
   }
   checkRange( name, value, quantity.low, quantity.high );
   quantity.set( *this, port, value );
   settle();
}

double BCM59121::get( std::string_view name ) const {
   auto [ quantity, port ] = find( name );
   return quantity.get( *this, port );
}

BCM59121::Found BCM59121::find( std::string_view name ) const {
   auto quantity = std::ranges::find( kOfController, name, &Quantity::name );
   if ( quantity != std::end( kOfController ) ) {
      return { *quantity, 0 };
   }
   std::string_view digits = name.substr( name.find_last_not_of( "0123456789" ) + 1 );
   size_t port = around_.ports;
   std::from_chars( digits.data(), digits.data() + digits.size(), port );
   bool isPort = port < around_.ports && digits == std::to_string( port );
   quantity =
      std::ranges::find( kOfPort, name.substr( 0, name.size() - digits.size() ), &Quantity::name );
   if ( !isPort || quantity == std::end( kOfPort ) ) {
      unknownQuantity( name, knownNames() );
   }
   return { *quantity, port };
}

// All names would be hundreds.
std::vector< std::string > BCM59121::knownNames() const {
   std::vector< std::string > names;
   for ( const Quantity& quantity : kOfController ) {
      names.emplace_back( quantity.name );
   }
   for ( const Quantity& quantity : kOfPort ) {
      names.push_back(
         fmt::format( "{}0 to {}{}", quantity.name, quantity.name, around_.ports - 1 ) );
   }
   return names;
}

}  // namespace SmbusService::Emulator
