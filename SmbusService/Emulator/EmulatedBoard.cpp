#include "SmbusService/Emulator/EmulatedBoard.h"

#include <fmt/format.h>

#include <stdexcept>

namespace SmbusService::Emulator {

Bus& EmulatedBoard::bus( const AdapterId& id ) {
   std::unique_ptr< Bus >& bus = busses_[ id ];
   if ( !bus ) {
      bus = std::make_unique< Bus >();
   }
   return *bus;
}

void EmulatedBoard::add( Bus& bus, Segment& place, std::unique_ptr< Site > site ) {
   site->mux = dynamic_cast< const MuxChip* >( site->chip.get() );
   site->chip->reset();
   place.sites.push_back( site.get() );
   uint32_t did = site->did;
   chips_[ did ] = { &bus, std::move( site ) };
}

Adapter* EmulatedBoard::findAdapter( const AdapterId& id ) {
   auto bus = busses_.find( id );
   return bus == busses_.end() ? nullptr : bus->second.get();
}

void EmulatedBoard::keepLog( TransferLog& log ) {
   forEachAdapter( [ & ]( const AdapterId&, Adapter& adapter ) { adapter.log = &log; } );
}

void EmulatedBoard::forEachAdapter(
   const std::function< void( const AdapterId&, Adapter& ) >& visit ) {
   for ( auto& [ id, bus ] : busses_ ) {
      visit( id, *bus );
   }
}

void EmulatedBoard::set( uint32_t did, std::string_view quantity, double value ) {
   Entry& chip = entry( did );
   std::lock_guard lock( chip.bus->mutex );
   chip.site->chip->set( quantity, value );
}

double EmulatedBoard::get( uint32_t did, std::string_view quantity ) {
   Entry& chip = entry( did );
   std::lock_guard lock( chip.bus->mutex );
   return chip.site->chip->get( quantity );
}

void EmulatedBoard::unplug( uint32_t did ) {
   Entry& chip = entry( did );
   std::lock_guard lock( chip.bus->mutex );
   chip.site->isPlugged = false;
}

void EmulatedBoard::plug( uint32_t did ) {
   Entry& chip = entry( did );
   std::lock_guard lock( chip.bus->mutex );
   if ( !chip.site->isPlugged ) {
      chip.site->chip->reset();
      chip.site->isPlugged = true;
   }
}

void EmulatedBoard::addFault( uint32_t did, const Fault& fault ) {
   Entry& chip = entry( did );
   if ( fault.kind == FaultKind::kStuckMux && !chip.site->mux ) {
      throw std::invalid_argument( fmt::format( "a {} is no mux", chip.site->model ) );
   }
   std::lock_guard lock( chip.bus->mutex );
   chip.site->faults.add( fault );
}

void EmulatedBoard::clearFaults( uint32_t did ) {
   Entry& chip = entry( did );
   std::lock_guard lock( chip.bus->mutex );
   chip.site->faults.clear();
}

void EmulatedBoard::clearFaults() {
   for ( const auto& [ did, chip ] : chips_ ) {
      clearFaults( did );
   }
}

void EmulatedBoard::forEachChip( const std::function< void( const Site& ) >& visit ) {
   for ( const auto& [ did, chip ] : chips_ ) {
      std::lock_guard lock( chip.bus->mutex );
      visit( *chip.site );
   }
}

EmulatedBoard::Entry& EmulatedBoard::entry( uint32_t did ) {
   auto chip = chips_.find( did );
   if ( chip == chips_.end() ) {
      throw std::invalid_argument( fmt::format( "no chip has device id {}", did ) );
   }
   return chip->second;
}

}  // namespace SmbusService::Emulator
