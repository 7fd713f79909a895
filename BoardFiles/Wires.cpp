#include "BoardFiles/Wires.h"

#include <fmt/format.h>

namespace BoardFiles {

size_t Wires::atAdapter( const Adapter& adapter, const Place& place ) {
   auto [ it, isNew ] = adapters_.insert( { adapter, { above_.size(), place } } );
   if ( isNew ) {
      above_.push_back( kNone );
   } else {
      warn( place, fmt::format( "requests cannot tell it from {}", it->second.second.pointer ) );
   }
   return it->second.first;
}

size_t Wires::behindMux( uint32_t did, int64_t channel, size_t above ) {
   auto [ it, isNew ] = channels_.insert( { { did, channel }, above_.size() } );
   if ( isNew ) {
      above_.push_back( above );
   }
   return it->second;
}

void Wires::addDevice( size_t wire, uint32_t did, uint32_t address, const Place& place ) {
   auto [ first, isNew ] = firstOf_.insert( { did, devices_.size() } );
   if ( !isNew && devices_[ first->second ].address != address ) {
      const Device& other = devices_[ first->second ];
      warn( place, fmt::format( "device {} is at address 0x{:02x} here, but at 0x{:02x} in {}", did,
                                address, other.address, other.place.pointer ) );
   }
   if ( wire != kNone ) {
      firstAt_.insert( { { wire, address }, devices_.size() } );
   }
   devices_.push_back( { wire, did, address, place } );
}

// On the device's own wire, and on those above, which are connected to it while its channel is
// open.
void Wires::compareAddresses() {
   for ( const Device& device : devices_ ) {
      if ( &device != &devices_[ firstOf_.at( device.did ) ] ) {
         continue;
      }
      for ( size_t wire = device.wire; wire != kNone; wire = above_[ wire ] ) {
         if ( const Device* other = findOther( device, wire ) ) {
            warn( device.place, fmt::format( "device {} answers to address 0x{:02x} as well: {}",
                                             other->did, device.address, other->place.pointer ) );
            break;
         }
      }
   }
}

const Wires::Device* Wires::findOther( const Device& device, size_t wire ) const {
   auto first = firstAt_.find( { wire, device.address } );
   if ( first == firstAt_.end() || devices_[ first->second ].did == device.did ) {
      return nullptr;
   }
   return &devices_[ first->second ];
}

void Wires::warn( const Place& place, std::string problem ) {
   findings_.push_back( { place.file, place.pointer, std::move( problem ), true } );
}

}  // namespace BoardFiles
