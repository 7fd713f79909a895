#include "SmbusService/Emulator/BoardLoader.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <filesystem>
#include <stdexcept>

#include "SmbusService/Emulator/Chips/Models.h"
#include "SmbusService/Emulator/Places.h"

namespace SmbusService::Emulator {

namespace {

// A chip's refusal becomes a problem of the place in the document that asked for it.
template < typename Action >
void tryAt( const JsonCursor& json, Action action ) {
   try {
      action();
   } catch ( const std::invalid_argument& error ) {
      json.fail( error.what() );
   }
}

std::unique_ptr< Chip > makeChip( const JsonCursor& json, const Place& place, std::string& model ) {
   auto explicitModel = json.find( "model" );
   model = explicitModel ? explicitModel->asString() : place.driver;
   std::unique_ptr< Chip > chip = newChip( model );
   if ( chip ) {
      return chip;
   }
   std::string known = fmt::format( "there are {}", fmt::join( modelNames(), ", " ) );
   if ( explicitModel ) {
      explicitModel->fail( fmt::format( "unknown model '{}'; {}", model, known ) );
   }
   json.fail( model.empty()
                 ? fmt::format( "\"model\" is missing, and the device has no driver; {}", known )
                 : fmt::format( "\"model\" is missing, and no model is called like the driver, "
                                "'{}'; {}",
                                model, known ) );
}

void connectMux( const JsonCursor& json,
                 const Place& place,
                 const Branches& branches,
                 Slot& slot ) {
   if ( !dynamic_cast< const MuxChip* >( slot.chip.get() ) ) {
      json.fail(
         fmt::format( "topology.json has muxes behind it, but a {} is no mux", slot.model ) );
   }
   if ( branches.bus != place.bus ) {
      json.fail( "topology.json has the mux on another adapter than its chip" );
   }
   slot.channels = branches.channels;
}

void setQuantities( const JsonCursor& json, Chip& chip ) {
   if ( auto quantities = json.find( "set" ) ) {
      for ( const JsonCursor& quantity : quantities->members() ) {
         tryAt( quantity, [ & ] { chip.set( quantity.name(), quantity.asNumber() ); } );
      }
   }
}

void addChip( Board& board, const Places& places, const JsonCursor& json ) {
   JsonCursor did = json.member( "did" );
   const Place* place = places.find( did.asUint() );
   if ( !place ) {
      did.fail( fmt::format( "topology.json has no device {} on a bus", did.asUint() ) );
   }
   if ( board.has( did.asUint() ) ) {
      did.fail( "the chip is already described" );
   }
   if ( !place->address ) {
      did.fail( "neither topology.json nor objects.json gives the device's address" );
   }
   auto slot = std::make_unique< Slot >();
   slot->did = did.asUint();
   slot->address = *place->address;
   slot->chip = makeChip( json, *place, slot->model );
   if ( const Branches* branches = places.branches( slot->did ) ) {
      connectMux( json, *place, *branches, *slot );
   }
   if ( auto contents = json.find( "contents" ) ) {
      tryAt( *contents, [ & ] { slot->chip->load( contents->asString() ); } );
   }
   auto unplugged = json.find( "unplugged" );
   slot->isPlugged = !unplugged || !unplugged->asBool();
   for ( const JsonCursor& fault : json.elementsOf( "faults" ) ) {
      slot->faults.add( readFault( fault ) );
   }
   Chip& chip = *slot->chip;
   board.add( *place->bus, *place->segment, std::move( slot ) );
   setQuantities( json, chip );
}

}  // namespace

std::unique_ptr< Board > loadBoard( const std::string& directory ) {
   std::filesystem::path folder( directory );
   JsonFile topology( folder / "topology.json" );
   JsonFile emulation( folder / "emulation.json" );
   auto board = std::make_unique< Board >();
   Places places( *board, topology );
   if ( std::filesystem::exists( folder / "objects.json" ) ) {
      places.complete( JsonFile( folder / "objects.json" ) );
   }
   for ( const JsonCursor& chip : JsonCursor( emulation ).member( "chips" ).elements() ) {
      addChip( *board, places, chip );
   }
   return board;
}

}  // namespace SmbusService::Emulator
