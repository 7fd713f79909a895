#include "SmbusService/Emulator/Board.h"

#include <fmt/format.h>

#include <stdexcept>

namespace SmbusService::Emulator {

Bus& Board::bus( const AdapterId& id ) {
   std::unique_ptr< Bus >& bus = busses_[ id ];
   if ( !bus ) {
      bus = std::make_unique< Bus >();
   }
   return *bus;
}

void Board::add( Bus& bus, Segment& place, std::unique_ptr< Slot > slot ) {
   slot->mux = dynamic_cast< const MuxChip* >( slot->chip.get() );
   slot->chip->reset();
   place.slots.push_back( slot.get() );
   uint32_t did = slot->did;
   chips_[ did ] = { &bus, std::move( slot ) };
}

Adapter* Board::findAdapter( const AdapterId& id ) {
   auto bus = busses_.find( id );
   return bus == busses_.end() ? nullptr : bus->second.get();
}

void Board::set( uint32_t did, std::string_view quantity, double value ) {
   Entry& chip = entry( did );
   std::lock_guard lock( chip.bus->mutex );
   chip.slot->chip->set( quantity, value );
}

double Board::get( uint32_t did, std::string_view quantity ) {
   Entry& chip = entry( did );
   std::lock_guard lock( chip.bus->mutex );
   return chip.slot->chip->get( quantity );
}

void Board::unplug( uint32_t did ) {
   Entry& chip = entry( did );
   std::lock_guard lock( chip.bus->mutex );
   chip.slot->isPlugged = false;
}

void Board::plug( uint32_t did ) {
   Entry& chip = entry( did );
   std::lock_guard lock( chip.bus->mutex );
   if ( !chip.slot->isPlugged ) {
      chip.slot->chip->reset();
      chip.slot->isPlugged = true;
   }
}

void Board::addFault( uint32_t did, const Fault& fault ) {
   Entry& chip = entry( did );
   std::lock_guard lock( chip.bus->mutex );
   chip.slot->faults.add( fault );
}

void Board::forEachChip( const std::function< void( const Slot& ) >& visit ) {
   for ( const auto& [ did, chip ] : chips_ ) {
      std::lock_guard lock( chip.bus->mutex );
      visit( *chip.slot );
   }
}

Board::Entry& Board::entry( uint32_t did ) {
   auto chip = chips_.find( did );
   if ( chip == chips_.end() ) {
      throw std::invalid_argument( fmt::format( "no chip has device id {}", did ) );
   }
   return chip->second;
}

}  // namespace SmbusService::Emulator
