#include "BoardFiles/AddressCheck.h"

#include <fmt/format.h>

#include <charconv>
#include <string_view>

namespace BoardFiles {

namespace {

constexpr int kHexadecimal = 16;

}  // namespace

void AddressCheck::give( uint32_t did, uint32_t address, const Place& place ) {
   Wiring::Device& device = wiring_.devices.at( did );
   if ( !device.address ) {
      device.address = address;
      device.addressPlace = place;
      addressed_.push_back( did );
      compareLabel( device, place );
   } else if ( *device.address != address ) {
      warn( place, fmt::format( "device {} is at address 0x{:02x} here, but at 0x{:02x} in {}", did,
                                address, *device.address, device.addressPlace.pointer ) );
   }
}

// A label such as "scd1<0x48>" names the address, too.
void AddressCheck::compareLabel( const Wiring::Device& device, const Place& place ) {
   constexpr std::string_view kBeforeDigits = "<0x";
   size_t stem = device.label.rfind( kBeforeDigits );
   if ( stem == std::string::npos ) {
      return;
   }
   const char* end = device.label.data() + device.label.size();
   uint32_t number = 0;
   auto [ next, error ] = std::from_chars( device.label.data() + stem + kBeforeDigits.size(), end,
                                           number, kHexadecimal );
   bool isAddress = error == std::errc() && next + 1 == end && *next == '>';
   if ( isAddress && number != *device.address ) {
      warn( place, fmt::format( "the device is at address 0x{:02x}, but {} has the label \"{}\"",
                                *device.address, device.pointer, device.label ) );
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
