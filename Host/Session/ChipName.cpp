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

}  // namespace

std::string chipName( const Board& board,
                      const ObjectSpec& object,
                      const pl_service_failure& failure ) {
   const Wiring& wiring = board.wiring;
   std::string driver;
   size_t bus = wiring.adapterBus( failure.master, failure.pci, failure.accelerator, failure.bus );
   std::string place = bus == Wiring::kNone ? "" : wiring.nameOf( bus );
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
