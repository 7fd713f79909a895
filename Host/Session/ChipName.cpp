#include "Host/Session/ChipName.h"

#include <fmt/format.h>

#include <optional>
#include <vector>

#include "Utils/Json.h"

namespace Host {

namespace {

std::optional< uint32_t > ownDid( const Wiring& wiring, const ObjectSpec& object ) {
   Utils::Json::Document arguments;
   if ( !Utils::Json::parse( object.device.c_str(), arguments ) && arguments.IsObject() ) {
      return arguments.HasMember( "did" ) ? std::optional( arguments[ "did" ].GetUint() )
                                          : std::nullopt;
   }
   for ( const auto& [ did, device ] : wiring.devices ) {
      if ( device.label.starts_with( object.device + "<" ) && device.address == object.address ) {
         return did;
      }
   }
   return std::nullopt;
}

// The object's own device and the muxes that lead to it, as far as the topology knows them.
std::vector< const Wiring::Device* > devicesOnPath( const Wiring& wiring,
                                                    const ObjectSpec& object ) {
   std::vector< const Wiring::Device* > devices;
   auto did = ownDid( wiring, object );
   auto device = did ? wiring.devices.find( *did ) : wiring.devices.end();
   while ( device != wiring.devices.end() && device->second.bus != Wiring::kNone ) {
      devices.push_back( &device->second );
      const Wiring::Bus& bus = wiring.busses[ device->second.bus ];
      device = bus.above == Wiring::kNone ? wiring.devices.end() : wiring.devices.find( bus.mux );
   }
   return devices;
}

}  // namespace

std::string chipName( const Board& board, const ObjectSpec& object, unsigned address ) {
   for ( const Wiring::Device* device : devicesOnPath( board.wiring, object ) ) {
      if ( device->address == address ) {
         return fmt::format( "{} 0x{:02x} at {}",
                             device->driver.empty() ? "device" : device->driver, address,
                             board.wiring.nameOf( device->bus ) );
      }
   }
   return fmt::format( "device 0x{:02x}", address );
}

}  // namespace Host
