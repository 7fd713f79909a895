#include "BoardFiles/MuxCycles.h"

#include <algorithm>
#include <array>
#include <tuple>
#include <vector>

namespace BoardFiles {

namespace {

constexpr size_t kNone = Wiring::kNone;

// Whom a bus is reached through: the bus that its mux's node is on, and the one with the mux's
// chip.
using Neighbours = std::array< size_t, 2 >;

Neighbours neighboursOf( const Wiring& wiring, const Wiring::Bus& bus ) {
   if ( bus.above == kNone ) {
      return { kNone, kNone };
   }
   auto chip = wiring.devices.find( bus.mux );
   return { bus.above, chip == wiring.devices.end() ? kNone : chip->second.bus };
}

// The busses that are reached through one another, by Tarjan's algorithm. It keeps its path
// itself, since a board's may be longer than the stack is deep.
class Rings {
 public:
   explicit Rings( const Wiring& wiring )
       : order_( wiring.busses.size(), kNone ), lowest_( order_ ), ring_( order_ ) {
      for ( const Wiring::Bus& bus : wiring.busses ) {
         neighbours_.push_back( neighboursOf( wiring, bus ) );
      }
      for ( size_t bus = 0; bus < order_.size(); ++bus ) {
         if ( order_[ bus ] == kNone ) {
            walkFrom( bus );
         }
      }
   }

   bool areOne( size_t one, size_t other ) const { return ring_[ one ] == ring_[ other ]; }

 private:
   struct Step {
      size_t bus;
      size_t neighbour = 0;  // the next to look at
   };

   void walkFrom( size_t start );
   void enter( size_t bus );
   void look( Step& step );
   void leave( size_t bus );

   std::vector< Neighbours > neighbours_;
   std::vector< size_t > order_;   // of entering
   std::vector< size_t > lowest_;  // order that is reached from there
   std::vector< size_t > ring_;    // its first bus, once all of it is known
   std::vector< size_t > open_;    // busses whose ring is not known
   std::vector< Step > path_;
   size_t count_ = 0;
};

void Rings::walkFrom( size_t start ) {
   enter( start );
   while ( !path_.empty() ) {
      if ( path_.back().neighbour < std::tuple_size_v< Neighbours > ) {
         look( path_.back() );
      } else {
         leave( path_.back().bus );
      }
   }
}

void Rings::enter( size_t bus ) {
   order_[ bus ] = lowest_[ bus ] = count_++;
   open_.push_back( bus );
   path_.push_back( { bus } );
}

void Rings::look( Step& step ) {
   size_t bus = step.bus;
   size_t next = neighbours_[ bus ][ step.neighbour++ ];
   if ( next == kNone ) {
      return;
   }
   if ( order_[ next ] == kNone ) {
      enter( next );
   } else if ( ring_[ next ] == kNone ) {
      lowest_[ bus ] = std::min( lowest_[ bus ], order_[ next ] );
   }
}

void Rings::leave( size_t bus ) {
   path_.pop_back();
   if ( !path_.empty() ) {
      size_t& lowest = lowest_[ path_.back().bus ];
      lowest = std::min( lowest, lowest_[ bus ] );
   }
   while ( lowest_[ bus ] == order_[ bus ] && ring_[ bus ] == kNone ) {
      ring_[ open_.back() ] = bus;
      open_.pop_back();
   }
}

}  // namespace

std::set< uint32_t > muxesBehindThemselves( const Wiring& wiring ) {
   Rings rings( wiring );
   std::set< uint32_t > muxes;
   for ( size_t bus = 0; bus < wiring.busses.size(); ++bus ) {
      size_t chip = neighboursOf( wiring, wiring.busses[ bus ] )[ 1 ];
      if ( chip != kNone && rings.areOne( bus, chip ) ) {
         muxes.insert( wiring.busses[ bus ].mux );
      }
   }
   return muxes;
}

}  // namespace BoardFiles
