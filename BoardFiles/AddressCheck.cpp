#include "BoardFiles/AddressCheck.h"

#include <fmt/format.h>

namespace BoardFiles {

void AddressCheck::give( uint32_t did, uint32_t address, const Place& place ) {
   Wiring::Device& device = wiring_.devices.at( did );
   if ( !device.address ) {
      device.address = address;
      device.addressPlace = place;
      addressed_.push_back( did );
   } else if ( *device.address != address ) {
      warn( place, fmt::format( "device {} is at address 0x{:02x} here, but at 0x{:02x} in {}", did,
                                address, *device.address, device.addressPlace.pointer ) );
   }
}

// On the device's own bus, and on those above, which are connected to it while its channel is open.
void AddressCheck::compare() {
   std::map< std::pair< size_t, uint32_t >, uint32_t > firstAt;  // bus and address
   for ( uint32_t did : addressed_ ) {
      const Wiring::Device& device = wiring_.devices.at( did );
      firstAt.insert( { { device.bus, *device.address }, did } );
   }
   for ( uint32_t did : addressed_ ) {
      const Wiring::Device& device = wiring_.devices.at( did );
      for ( size_t bus = device.bus; bus != Wiring::kNone; bus = wiring_.busses[ bus ].above ) {
         auto other = firstAt.find( { bus, *device.address } );
         if ( other != firstAt.end() && other->second != did ) {
            warn( device.addressPlace,
                  fmt::format( "device {} answers to address 0x{:02x} as well: {}", other->second,
                               *device.address,
                               wiring_.devices.at( other->second ).addressPlace.pointer ) );
            break;
         }
      }
   }
}

void AddressCheck::warn( const Place& place, std::string problem ) {
   findings_.push_back( { place.file, place.pointer, std::move( problem ), true } );
}

}  // namespace BoardFiles
