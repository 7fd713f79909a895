#include "Host/Output/BusPlace.h"

#include <fmt/format.h>

namespace Host {

namespace {

Value channelJson( const OpenChannel& channel, JsonObject::Allocator& allocator ) {
   JsonObject json( allocator );
   json.add( "mux", Value( channel.mux ) );
   json.add( "byte", Value( channel.byte ) );
   return std::move( json.value() );
}

}  // namespace

std::string busTitle( const Wiring& wiring, size_t bus ) {
   std::string path = WireNames( wiring ).pathOf( bus );
   const std::string& label = wiring.busses[ bus ].label;
   return label.empty() || label == path ? path : fmt::format( "{} ({})", label, path );
}

void addBus( JsonObject& json,
             const Wiring& wiring,
             size_t bus,
             JsonObject::Allocator& allocator ) {
   WireNames names( wiring );
   json.addIfAny( "label", wiring.busses[ bus ].label );
   json.add( "path", names.pathOf( bus ) );
   json.add( "channels", arrayJson( names.channelsTo( bus ), allocator, channelJson ) );
}

}  // namespace Host
