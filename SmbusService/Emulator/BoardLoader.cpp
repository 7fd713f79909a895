#include "SmbusService/Emulator/BoardLoader.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <deque>
#include <map>
#include <stdexcept>

#include "SmbusService/Emulator/Chips/Factory.h"

namespace SmbusService::Emulator {

namespace {

using BoardFiles::ChipSpec;
using BoardFiles::Place;
using BoardFiles::Wiring;

// Puts chips in their places, and keeps what is wrong with them.
class BoardMaker {
 public:
   explicit BoardMaker( const BoardFiles::Board& board );

   void addChip( const ChipSpec& );

   std::unique_ptr< EmulatedBoard > board = std::make_unique< EmulatedBoard >();
   std::vector< BoardFiles::Finding > findings;

 private:
   std::unique_ptr< Chip > makeChip( const ChipSpec&, const std::string& model );
   void connectMux( const ChipSpec&, Site& );
   template < typename Action >
   void tryAt( const Place&, Action );
   void report( const Place& place, const std::string& problem ) {
      findings.push_back( { place.file, place.pointer, problem } );
   }

   const Wiring& wiring_;
   std::vector< Bus* > adapters_;                          // as in the wiring
   std::vector< Segment* > segments_;                      // the wiring's busses
   std::map< uint32_t, std::vector< size_t > > channels_;  // mux chip to the wiring's busses
};

BoardMaker::BoardMaker( const BoardFiles::Board& documents ) : wiring_( documents.wiring ) {
   for ( const Wiring::Adapter& adapter : wiring_.adapters ) {
      adapters_.push_back( &board->bus( idOf( adapter ) ) );
   }
   for ( const auto& [ adapter, bitsPerSecond ] : documents.bitRates ) {
      adapters_[ adapter ]->bitRateIs( bitsPerSecond );
   }
   for ( const Wiring::Bus& bus : wiring_.busses ) {
      Bus& adapter = *adapters_[ bus.adapter ];
      bool isRoot = bus.above == Wiring::kNone;
      if ( !isRoot ) {
         channels_[ bus.mux ].push_back( segments_.size() );
      }
      segments_.push_back( isRoot ? &adapter.root() : &adapter.newSegment() );
   }
}

void BoardMaker::addChip( const ChipSpec& spec ) {
   const Wiring::Device& device = wiring_.devices.at( spec.did );
   auto site = std::make_unique< Site >();
   site->did = spec.did;
   site->address = static_cast< uint8_t >( *device.address );
   site->model = spec.model.value_or( device.driver );
   site->chip = makeChip( spec, site->model );
   if ( !site->chip ) {
      return;
   }
   connectMux( spec, *site );
   site->isPlugged = !spec.isUnplugged;
   bool isMux = dynamic_cast< const MuxChip* >( site->chip.get() );
   for ( const Fault& fault : spec.faults ) {
      if ( fault.kind == FaultKind::kStuckMux && !isMux ) {
         report( spec.place.member( "faults" ), fmt::format( "a {} is no mux", site->model ) );
      }
      site->faults.add( fault );
   }
   Chip& chip = *site->chip;
   board->add( *adapters_[ wiring_.busses[ device.bus ].adapter ], *segments_[ device.bus ],
               std::move( site ) );
   if ( spec.contents ) {
      tryAt( spec.place.member( "contents" ), [ & ] { chip.load( *spec.contents ); } );
   }
   for ( const auto& field : spec.fields ) {
      tryAt( spec.place.member( "fields" ).member( field.first ),
             [ & ] { chip.describe( field.first, field.second ); } );
   }
   for ( const auto& quantity : spec.quantities ) {
      tryAt( spec.place.member( "set" ).member( quantity.first ),
             [ & ] { chip.set( quantity.first, quantity.second ); } );
   }
}

std::unique_ptr< Chip > BoardMaker::makeChip( const ChipSpec& spec, const std::string& model ) {
   std::unique_ptr< Chip > chip = newChip( model );
   if ( chip ) {
      return chip;
   }
   std::string known = fmt::format( "there are {}", fmt::join( modelNames(), ", " ) );
   if ( spec.model ) {
      report( spec.place.member( "model" ), fmt::format( "unknown model '{}'; {}", model, known ) );
   } else {
      std::string why = model.empty()
                           ? "the device has no driver"
                           : fmt::format( "no model is called like the driver, '{}'", model );
      report( spec.place, fmt::format( "\"model\" is missing, and {}; {}", why, known ) );
   }
   return nullptr;
}

void BoardMaker::connectMux( const ChipSpec& spec, Site& site ) {
   auto channels = channels_.find( spec.did );
   if ( channels == channels_.end() ) {
      return;
   }
   if ( !dynamic_cast< const MuxChip* >( site.chip.get() ) ) {
      report( spec.place,
              fmt::format( "topology.json has muxes behind it, but a {} is no mux", site.model ) );
      return;
   }
   size_t adapter = wiring_.busses[ wiring_.devices.at( spec.did ).bus ].adapter;
   for ( size_t bus : channels->second ) {
      const Wiring::Bus& channel = wiring_.busses[ bus ];
      if ( channel.adapter != adapter ) {
         report( spec.place, fmt::format( "topology.json has {} behind it, on another adapter",
                                          channel.pointer ) );
         return;
      }
      site.channels.push_back( { static_cast< uint8_t >( channel.channel ), segments_[ bus ] } );
   }
}

// A chip's refusal becomes a problem of the place in the document that asked for it.
template < typename Action >
void BoardMaker::tryAt( const Place& place, Action action ) {
   try {
      action();
   } catch ( const std::invalid_argument& error ) {
      report( place, error.what() );
   }
}

}  // namespace

std::unique_ptr< EmulatedBoard > loadBoard( const BoardFiles::Board& documents ) {
   BoardMaker maker( documents );
   for ( const ChipSpec& chip : documents.chips ) {
      maker.addChip( chip );
   }
   if ( !maker.findings.empty() ) {
      std::vector< BoardFiles::Finding > all = documents.warnings;
      all.insert( all.end(), maker.findings.begin(), maker.findings.end() );
      throw BoardFiles::BoardError( std::move( all ) );
   }
   maker.board->connectMuxes( documents.wiring );
   return std::move( maker.board );
}

std::unique_ptr< EmulatedBoard > loadBoard( const std::string& directory ) {
   return loadBoard(
      BoardFiles::loadBoard( directory, { .emulation = BoardFiles::Demand::Needed } ) );
}

}  // namespace SmbusService::Emulator
