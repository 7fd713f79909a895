#include "SmbusService/BusTree.h"

#include <algorithm>

namespace SmbusService {

namespace {

using BoardFiles::Wiring;

// Puts a wiring's busses and devices into the trees of their adapters.
class Planter {
 public:
   explicit Planter( const Wiring& wiring ) : wiring_( wiring ) {
      for ( const Wiring::Adapter& adapter : wiring.adapters ) {
         trees[ idOf( adapter ) ];
      }
      segments_.resize( wiring.busses.size(), BusTree::kNone );
   }

   void plant() {
      for ( size_t bus = 0; bus < wiring_.busses.size(); ++bus ) {
         segmentOf( bus );
      }
      for ( const auto& [ did, device ] : wiring_.devices ) {
         if ( device.bus != Wiring::kNone && device.address ) {
            treeOf( device.bus )
               .segments[ segmentOf( device.bus ) ]
               .devices.push_back( { did, static_cast< uint8_t >( *device.address ) } );
         }
      }
   }

   std::map< AdapterId, BusTree > trees;

 private:
   BusTree& treeOf( size_t bus ) {
      return trees.at( idOf( wiring_.adapters[ wiring_.busses[ bus ].adapter ] ) );
   }

   // Makes the segments and muxes that lead there first.
   size_t segmentOf( size_t bus ) {
      const Wiring::Bus& place = wiring_.busses[ bus ];
      if ( segments_[ bus ] != BusTree::kNone ) {
         return segments_[ bus ];
      }
      if ( place.above == Wiring::kNone ) {
         treeOf( bus ).segments[ 0 ].bus = bus;
         return segments_[ bus ] = 0;
      }
      size_t mux = isSwitchedHere( place ) ? muxOf( place.mux ) : BusTree::kNone;
      BusTree& tree = treeOf( bus );
      auto channel = static_cast< uint8_t >( place.channel );
      segments_[ bus ] = tree.segments.size();
      tree.segments.push_back( { .mux = mux, .channel = channel, .bus = bus } );
      if ( mux != BusTree::kNone ) {
         tree.muxes[ mux ].channels.push_back( { channel, segments_[ bus ] } );
      }
      return segments_[ bus ];
   }

   // Not when its mux is controlled from another adapter: nothing is known of its channels then,
   // and the segment counts as one that is always connected.
   bool isSwitchedHere( const Wiring::Bus& channel ) const {
      const Wiring::Device& chip = wiring_.devices.at( channel.mux );
      return chip.address && chip.bus != Wiring::kNone &&
             wiring_.busses[ chip.bus ].adapter == channel.adapter;
   }

   size_t muxOf( uint32_t did ) {
      const Wiring::Device& chip = wiring_.devices.at( did );
      size_t segment = segmentOf( chip.bus );
      BusTree& tree = treeOf( chip.bus );
      auto known = std::ranges::find( tree.muxes, did, &BusTree::Mux::did );
      if ( known == tree.muxes.end() ) {
         auto address = static_cast< uint8_t >( *chip.address & 0x7f );
         tree.muxAddresses.set( address );
         known = tree.muxes.insert( known, { .did = did,
                                             .address = address,
                                             .segment = segment,
                                             .isVerified = wiring_.verifiedMuxes.contains( did ),
                                             .channels = {} } );
      }
      return static_cast< size_t >( known - tree.muxes.begin() );
   }

   const Wiring& wiring_;
   std::vector< size_t > segments_;  // of the wiring's busses, in their trees
};

}  // namespace

std::vector< bool > BusTree::connectedSegments( const ControlBytes& bytes ) const {
   std::vector< bool > isConnected( segments.size() );
   for ( size_t i = 0; i < segments.size(); ++i ) {
      size_t mux = segments[ i ].mux;
      isConnected[ i ] = mux == kNone || ( isConnected[ muxes[ mux ].segment ] &&
                                           ( bytes[ mux ] & segments[ i ].channel ) );
   }
   return isConnected;
}

void BusTree::reach( const ControlBytes& bytes,
                     uint8_t address,
                     const std::function< void( const Device&, size_t segment ) >& visit ) const {
   std::vector< bool > isConnected = connectedSegments( bytes );
   for ( size_t i = 0; i < segments.size(); ++i ) {
      for ( const Device& device : segments[ i ].devices ) {
         if ( isConnected[ i ] && device.address == address ) {
            visit( device, i );
         }
      }
   }
}

bool BusTree::write( const Transfer& transfer, ControlBytes& bytes ) const {
   auto byte = lastByteWritten( transfer );
   if ( !byte || !muxAddresses[ transfer.address.device ] ) {
      return false;
   }
   bool hasChanged = false;
   ControlBytes before = bytes;
   reach( before, transfer.address.device, [ & ]( const Device& device, size_t ) {
      auto mux = std::ranges::find( muxes, device.did, &Mux::did );
      if ( mux != muxes.end() ) {
         bytes[ static_cast< size_t >( mux - muxes.begin() ) ] = *byte;
         hasChanged = true;
      }
   } );
   return hasChanged;
}

std::vector< std::pair< size_t, uint8_t > > BusTree::pathTo( size_t segment ) const {
   std::vector< std::pair< size_t, uint8_t > > path;
   while ( segments[ segment ].mux != kNone ) {
      path.emplace_back( segments[ segment ].mux, segments[ segment ].channel );
      segment = muxes[ segments[ segment ].mux ].segment;
   }
   std::ranges::reverse( path );
   return path;
}

std::map< AdapterId, BusTree > busTreesOf( const Wiring& wiring ) {
   Planter planter( wiring );
   planter.plant();
   return std::move( planter.trees );
}

std::optional< uint8_t > lastByteWritten( const Transfer& transfer ) {
   if ( transfer.isReceiveByte() ) {
      return std::nullopt;
   }
   if ( transfer.type == Smbus::REQUEST_BLOCK_WRITE && transfer.data.empty() ) {
      return uint8_t{ 0 };  // the count
   }
   return transfer.data.empty() ? static_cast< uint8_t >( transfer.reg )
                                : static_cast< uint8_t >( transfer.data.back() );
}

}  // namespace SmbusService
