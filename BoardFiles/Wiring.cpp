#include "BoardFiles/Wiring.h"

#include <fmt/format.h>

namespace BoardFiles {

std::string_view Wiring::Adapter::mediumName() const {
   return label.empty() ? medium.type : label;
}

std::string Wiring::Adapter::name() const {
   if ( medium.shape == Media::Shape::Bus ) {
      return std::string( mediumName() );
   }
   std::string through = accelerator ? fmt::format( " accelerator {}", accelerator ) : "";
   return fmt::format( "{}{} bus {}", mediumName(), through, bus );
}

size_t Wiring::busAt( size_t adapter ) const {
   size_t bus = 0;
   while ( busses[ bus ].adapter != adapter || busses[ bus ].above != kNone ) {
      ++bus;
   }
   return bus;
}

std::string Wiring::whyOutOfReach( uint32_t did ) const {
   auto entry = devices.find( did );
   if ( entry == devices.end() ) {
      return fmt::format( "device {} is not in the topology", did );
   }
   const Device& device = entry->second;
   if ( device.bus == kNone ) {
      return fmt::format( "device {} is on no bus: {}", did, device.pointer );
   }
   if ( !device.address ) {
      return fmt::format( "nobody gives device {} an address: {} has {}", did, device.pointer,
                          device.isDeclared ? "a \"driver\" that uses none" : "no \"driver\"" );
   }
   return {};
}

std::vector< uint32_t > Wiring::muxesAbove( size_t bus ) const {
   std::vector< uint32_t > muxes;
   for ( size_t i = bus; i != kNone && busses[ i ].above != kNone; i = busses[ i ].above ) {
      muxes.push_back( busses[ i ].mux );
   }
   return muxes;
}

size_t Wiring::adapterBus( uint32_t master,
                           uint32_t pci,
                           uint32_t accelerator,
                           uint32_t bus ) const {
   for ( size_t i = 0; i < busses.size(); ++i ) {
      const Adapter& adapter = adapters[ busses[ i ].adapter ];
      if ( busses[ i ].above == kNone && static_cast< uint32_t >( adapter.master ) == master &&
           adapter.pci == pci && ( !adapter.medium.hasBusses() || adapter.bus == bus ) &&
           ( !adapter.medium.hasAccelerators() || adapter.accelerator == accelerator ) ) {
         return i;
      }
   }
   return kNone;
}

std::string Wiring::nameOf( size_t bus ) const {
   if ( bus == kNone ) {
      return "no bus";
   }
   for ( size_t i = bus; i != kNone; i = busses[ i ].above ) {
      if ( !busses[ i ].label.empty() ) {
         return busses[ i ].label;
      }
   }
   return adapters[ busses[ bus ].adapter ].name();
}

std::pair< size_t, bool > WiringBuilder::busAt( const Wiring::Adapter& adapter,
                                                const std::string& label ) {
   auto [ entry, isNew ] =
      atAdapters_.insert( { { adapter.master, adapter.pci, adapter.accelerator, adapter.bus },
                            wiring_.busses.size() } );
   if ( isNew ) {
      wiring_.busses.push_back(
         { .adapter = wiring_.adapters.size(), .label = label, .pointer = adapter.pointer } );
      wiring_.adapters.push_back( adapter );
   }
   return { entry->second, isNew };
}

size_t WiringBuilder::busBehind( const Wiring::Bus& channel ) {
   auto [ entry, isNew ] =
      behindMuxes_.insert( { { channel.mux, channel.channel }, wiring_.busses.size() } );
   if ( isNew ) {
      wiring_.busses.push_back( channel );
   }
   return entry->second;
}

}  // namespace BoardFiles
