#include "SmbusService/Judgement.h"

#include <fmt/format.h>

#include <algorithm>

#include "SmbusService/PolicyRules.h"

namespace SmbusService {

namespace {

// Adds the bits of the others.
void widen( BusTree::ControlBytes& bytes, const BusTree::ControlBytes& others ) {
   for ( size_t mux = 0; mux < bytes.size(); ++mux ) {
      bytes[ mux ] |= others[ mux ];
   }
}

bool isAbove( const BusTree& tree, size_t segment, size_t other ) {
   while ( other != segment && tree.segments[ other ].mux != BusTree::kNone ) {
      other = tree.muxes[ tree.segments[ other ].mux ].segment;
      if ( other == segment ) {
         return true;
      }
   }
   return false;
}

}  // namespace

bool hasRuleFor( const Peer& peer, const PolicyMap::Rules& rules ) {
   return std::ranges::any_of( rules, [ & ]( auto* rule ) { return isFor( *rule, peer ); } );
}

Judgement::Judgement( const PolicyMap& map,
                      const Peer& peer,
                      const std::vector< Step >& steps,
                      Found found )
    : map_( map ),
      peer_( peer ),
      steps_( steps ),
      firstReset_( firstTrailingReset( steps ) ),
      found_( found ) {}

std::optional< std::string > Judgement::next() {
   bool isReset = next_ >= firstReset_;
   const Step& step = steps_[ next_++ ];
   Channels* channels = channelsOf( step );
   if ( !channels ) {
      return "the board has nothing on this adapter";
   }
   if ( !isReset ) {
      Problem problem = judge( step.transfer, *channels );
      follow( step.transfer, *channels );
      return problem;
   }
   // Resets are executed after a failure, too, with whatever was open then.
   if ( channels->bytes != channels->ever ) {
      channels->bytes = channels->ever;
      connect( *channels );
   }
   return judge( step.transfer, *channels );
}

Judgement::Channels* Judgement::channelsOf( const Step& step ) {
   auto known = std::ranges::find( channels_, step.adapter, &Channels::adapter );
   if ( known != channels_.end() ) {
      return &*known;
   }
   auto map = map_.adapters.find( step.transfer.adapter );
   if ( map == map_.adapters.end() ) {
      return nullptr;
   }
   const Muxes& muxes = step.adapter->muxes;
   bool isClosed = found_ == Found::kOnceSettled && !muxes.isSettledFor( peer_ );
   BusTree::ControlBytes bytes =
      isClosed ? BusTree::ControlBytes( muxes.controlBytes().size() ) : muxes.controlBytes();
   bytes.resize( map->second.tree.muxes.size(), UINT8_MAX );
   channels_.push_back(
      { .adapter = step.adapter, .map = &map->second, .bytes = bytes, .ever = bytes } );
   connect( channels_.back() );
   return &channels_.back();
}

void Judgement::connect( Channels& channels ) {
   const BusTree& tree = channels.map->tree;
   std::vector< bool > isConnected = tree.connectedSegments( channels.bytes );
   channels.segments.clear();
   for ( size_t segment = 0; segment < isConnected.size(); ++segment ) {
      if ( isConnected[ segment ] ) {
         channels.segments.push_back( segment );
      }
   }
   channels.unknownBehind.clear();
   for ( size_t mux = 0; mux < tree.muxes.size(); ++mux ) {
      size_t segment = tree.muxes[ mux ].segment;
      if ( isConnected[ segment ] && channels.bytes[ mux ] & ~channels.map->knownChannels[ mux ] ) {
         channels.unknownBehind.push_back( segment );
      }
   }
}

// A write that need not be acknowledged may leave its mux as it was, and from then on nobody knows
// which muxes are connected: they count as open both ways.
void Judgement::follow( const Transfer& transfer, Channels& channels ) {
   const BusTree& tree = channels.map->tree;
   if ( !tree.muxAddresses[ transfer.address.device ] ) {
      return;
   }
   BusTree::ControlBytes before = channels.bytes;
   if ( !tree.write( transfer, channels.bytes ) ) {
      return;
   }
   channels.isSure = channels.isSure && ( transfer.reads() || !transfer.acknowledgeOptional );
   if ( !channels.isSure ) {
      widen( channels.bytes, before );
   }
   widen( channels.ever, channels.bytes );
   connect( channels );
}

Judgement::Problem Judgement::judge( const Transfer& transfer, const Channels& channels ) const {
   std::vector< Owner > owners;
   for ( size_t segment : channels.segments ) {
      const PolicyMap::Cell& cell = channels.map->at( segment, transfer.address.device );
      for ( const Target& target : cell.targets ) {
         if ( Problem problem = judgeTarget( target, transfer, channels ) ) {
            return problem;
         }
      }
      if ( !cell.targets.empty() || permits( cell.rules, transfer ) ) {
         owners.push_back( { segment, !cell.targets.empty() } );
      }
   }
   return judgeOthers( owners, transfer, channels );
}

// Chips that the board does not declare may be on every other segment, unless their address would
// collide with an owner's on the way from the adapter outward. A device of the board is there for
// sure; an address that a rule lists may be free, and then a chip further out can have it.
Judgement::Problem Judgement::judgeOthers( const std::vector< Owner >& owners,
                                           const Transfer& transfer,
                                           const Channels& channels ) const {
   const PolicyMap::Adapter& map = *channels.map;
   uint8_t address = transfer.address.device;
   auto isTaken = [ & ]( size_t segment ) {
      return std::ranges::any_of( owners, [ & ]( const Owner& owner ) {
         return owner.segment == segment || isAbove( map.tree, segment, owner.segment ) ||
                ( owner.isDeclared && isAbove( map.tree, owner.segment, segment ) );
      } );
   };
   for ( size_t segment : channels.segments ) {
      if ( !isTaken( segment ) ) {
         return refusal(
            map.at( segment, address ).rules, transfer,
            fmt::format( "address 0x{:02x} on {}", address, map.segments[ segment ].name ) );
      }
   }
   for ( size_t segment : channels.unknownBehind ) {
      bool isTakenBefore = std::ranges::any_of( owners, [ & ]( const Owner& owner ) {
         return owner.isDeclared &&
                ( owner.segment == segment || isAbove( map.tree, owner.segment, segment ) );
      } );
      if ( !isTakenBefore && !permits( map.everywhere[ address ], transfer ) ) {
         return refusal( map.everywhere[ address ], transfer,
                         fmt::format( "address 0x{:02x} behind an undeclared channel", address ) );
      }
   }
   return std::nullopt;
}

// A client may select the channels of a mux that it needs, and read back which ones are open,
// without a rule for the mux.
Judgement::Problem Judgement::judgeTarget( const Target& target,
                                           const Transfer& transfer,
                                           const Channels& channels ) const {
   if ( target.mux == BusTree::kNone ) {
      return permits( target.rules, transfer )
                ? std::nullopt
                : Problem( refusal( target.rules, transfer, target.name ) );
   }
   auto byte = lastByteWritten( transfer );
   bool isSelection = transfer.isSendByte() || transfer.reads();
   bool mayRead = !transfer.reads() || permitsSide( target.rules, transfer, permitsReading );
   if ( mayRead && ( !byte || permitsSide( target.rules, transfer, permitsWriting ) ) ) {
      return std::nullopt;
   }
   if ( transfer.isReceiveByte() || ( mayRead && isSelection && transfer.data.empty() ) ) {
      return judgeSelection( target, byte.value_or( 0 ), channels );
   }
   return refusal( target.rules, transfer, target.name );
}

Judgement::Problem Judgement::judgeSelection( const Target& target,
                                              uint8_t byte,
                                              const Channels& channels ) const {
   bool mayUseAny = false;
   for ( const BusTree::Channel& channel : channels.map->tree.muxes[ target.mux ].channels ) {
      bool mayUse = hasRuleFor( peer_, channels.map->segments[ channel.segment ].below );
      mayUseAny |= mayUse;
      if ( byte & channel.value && !mayUse ) {
         return fmt::format( "no rule lists anything behind channel {} of {} for this client",
                             channel.value, target.name );
      }
   }
   if ( byte & ~channels.map->knownChannels[ target.mux ] ) {
      return fmt::format(
         "0x{:02x} opens undeclared channels of {}, which no rule lists for this "
         "client",
         byte, target.name );
   }
   return mayUseAny ? std::nullopt
                    : Problem( fmt::format( "no rule lists {}, or anything behind it, for this "
                                            "client",
                                            target.name ) );
}

bool Judgement::permits( const Rules& rules, const Transfer& transfer ) const {
   return ( !transfer.reads() || permitsSide( rules, transfer, permitsReading ) ) &&
          ( !transfer.writes() || permitsSide( rules, transfer, permitsWriting ) );
}

bool Judgement::permitsSide( const Rules& rules,
                             const Transfer& transfer,
                             bool ( *side )( const PolicyRule&, const Transfer& ) ) const {
   return std::ranges::any_of( rules, [ & ]( const PolicyRule* rule ) {
      return side( *rule, transfer ) && isFor( *rule, peer_ );
   } );
}

std::string Judgement::refusal( const Rules& rules,
                                const Transfer& transfer,
                                const std::string& name ) const {
   auto rule = std::ranges::find_if( rules, [ & ]( auto* each ) { return isFor( *each, peer_ ); } );
   return rule == rules.end() ? fmt::format( "no rule lists {} for this client", name )
                              : whyRefused( **rule, transfer, name );
}

}  // namespace SmbusService
