#include "Host/Session/WireNames.h"

#include <fmt/format.h>

#include <algorithm>

#include "Utils/Text.h"

namespace Host {

namespace {

bool isPlaceLabel( const Wiring::Device& device ) {
   return device.address && device.label.ends_with( Utils::deviceLabel(
                               "", static_cast< uint8_t >( *device.address ) ) );
}

std::string pathText( const OpenChannels& channels ) {
   std::string text;
   for ( const OpenChannel& channel : channels ) {
      text += fmt::format( " 0x{:02x}:0x{:02x}", channel.mux, channel.byte );
   }
   return text;
}

}  // namespace

std::string nameOfChip( const Wiring::Device& device ) {
   if ( !device.label.empty() && !isPlaceLabel( device ) ) {
      return device.label;
   }
   return device.driver.empty() ? "device" : device.driver;
}

size_t WireNames::adapterBus( const WireTransfer& transfer ) const {
   return wiring_.adapterBus( transfer.master, transfer.pci, transfer.accelerator, transfer.bus );
}

// The adapter's bus and those behind open channels. Busses come behind those above them.
std::vector< size_t > WireNames::reachedBusses( const WireTransfer& transfer ) const {
   std::vector< size_t > reached{ adapterBus( transfer ) };
   for ( size_t i = 0; i < wiring_.busses.size(); ++i ) {
      const Wiring::Bus& bus = wiring_.busses[ i ];
      bool isOpen = bus.above != Wiring::kNone &&
                    std::ranges::any_of( transfer.channels, [ & ]( const OpenChannel& channel ) {
                       return ( channel.byte & bus.channel ) &&
                              wiring_.devices.at( bus.mux ).address == channel.mux;
                    } );
      if ( isOpen && std::ranges::find( reached, bus.above ) != reached.end() ) {
         reached.push_back( i );
      }
   }
   return reached;
}

// Where several answer to the address, the one that the channels were opened for.
const WireNames::DeviceEntry* WireNames::findDevice( const WireTransfer& transfer ) const {
   std::vector< size_t > busses = reachedBusses( transfer );
   for ( size_t i = busses.size(); i-- > 0 && busses[ i ] != Wiring::kNone; ) {
      for ( const DeviceEntry& entry : wiring_.devices ) {
         if ( entry.second.bus == busses[ i ] && entry.second.address == transfer.device ) {
            return &entry;
         }
      }
   }
   return nullptr;
}

bool WireNames::isMux( uint32_t did ) const {
   return std::ranges::any_of( wiring_.busses, [ did ]( const Wiring::Bus& bus ) {
      return bus.above != Wiring::kNone && bus.mux == did;
   } );
}

std::string WireNames::placeOf( const WireTransfer& transfer ) const {
   size_t bus = adapterBus( transfer );
   std::string text =
      bus != Wiring::kNone
         ? wiring_.nameOf( bus )
         : fmt::format( "master {} pci 0x{:x} accelerator {} bus {}", transfer.master, transfer.pci,
                        transfer.accelerator, transfer.bus );
   const DeviceEntry* device = findDevice( transfer );
   return fmt::format( "{}{} {} 0x{:02x}", text, pathText( transfer.channels ),
                       device ? nameOfChip( device->second ) : "device", transfer.device );
}

std::string WireNames::pathOf( size_t bus ) const {
   size_t top = bus;
   while ( wiring_.busses[ top ].above != Wiring::kNone ) {
      top = wiring_.busses[ top ].above;
   }
   return wiring_.nameOf( top ) + pathText( channelsTo( bus ) );
}

OpenChannels WireNames::channelsTo( size_t bus ) const {
   OpenChannels channels;
   for ( size_t i = bus; wiring_.busses[ i ].above != Wiring::kNone;
         i = wiring_.busses[ i ].above ) {
      const Wiring::Bus& channel = wiring_.busses[ i ];
      uint32_t mux = wiring_.devices.at( channel.mux ).address.value_or( 0 );
      channels.insert( channels.begin(), { mux, channel.channel } );
   }
   return channels;
}

OpenChannels WireNames::channelsAfter( const WireTransfer& transfer ) const {
   OpenChannels channels = transfer.channels;
   const DeviceEntry* device = findDevice( transfer );
   if ( !transfer.isSendByte() || !device || !isMux( device->first ) ) {
      return channels;
   }
   std::erase_if( channels,
                  [ & ]( const OpenChannel& channel ) { return channel.mux == transfer.device; } );
   if ( transfer.reg ) {
      channels.push_back( { transfer.device, transfer.reg } );
   }
   return channels;
}

}  // namespace Host
