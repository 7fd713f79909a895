#include "Host/Session/ChipName.h"

#include <fmt/format.h>

#include <vector>

#include "Utils/Json.h"
#include "Utils/Text.h"

namespace Host {

std::optional< uint32_t > deviceIdOf( const Wiring& wiring, const ObjectSpec& object ) {
   Utils::Json::Document arguments;
   if ( !Utils::Json::parse( object.device.c_str(), arguments ) && arguments.IsObject() ) {
      return arguments.HasMember( "did" ) ? std::optional( arguments[ "did" ].GetUint() )
                                          : std::nullopt;
   }
   auto labelled = wiring.labels.find( Utils::deviceLabel( object.device, object.address ) );
   return labelled == wiring.labels.end() ? std::nullopt : std::optional( labelled->second );
}

namespace {

// The object's own device and the muxes that lead to it, as far as the topology knows them.
std::vector< const Wiring::Device* > devicesOnPath( const Wiring& wiring,
                                                    const ObjectSpec& object ) {
   std::vector< const Wiring::Device* > devices;
   auto did = deviceIdOf( wiring, object );
   auto own = did ? wiring.devices.find( *did ) : wiring.devices.end();
   if ( own == wiring.devices.end() ) {
      return devices;
   }
   devices.push_back( &own->second );
   for ( uint32_t mux : wiring.muxesAbove( own->second.bus ) ) {
      auto chip = wiring.devices.find( mux );
      if ( chip != wiring.devices.end() ) {
         devices.push_back( &chip->second );
      }
   }
   return devices;
}

// The failed request's adapter; empty where the board has none of its numbers.
std::string adapterName( const Wiring& wiring, const pl_service_failure& failure ) {
   for ( size_t bus = 0; bus < wiring.busses.size(); ++bus ) {
      const Wiring::Adapter& adapter = wiring.adapters[ wiring.busses[ bus ].adapter ];
      if ( static_cast< unsigned >( adapter.master ) == failure.master &&
           adapter.pci == failure.pci && adapter.accelerator == failure.accelerator &&
           adapter.bus == failure.bus && wiring.busses[ bus ].above == Wiring::kNone ) {
         return wiring.nameOf( bus );
      }
   }
   return {};
}

}  // namespace

std::string chipName( const Board& board,
                      const ObjectSpec& object,
                      const pl_service_failure& failure ) {
   const Wiring& wiring = board.wiring;
   std::string driver;
   std::string place = adapterName( wiring, failure );
   for ( const Wiring::Device* device : devicesOnPath( wiring, object ) ) {
      if ( device->address == failure.device ) {
         driver = device->driver;
         place = wiring.nameOf( device->bus );
         break;
      }
   }
   std::string name =
      fmt::format( "{} 0x{:02x}", driver.empty() ? "device" : driver, failure.device );
   return place.empty() ? name : name + " at " + place;
}

}  // namespace Host
