#include "SmbusService/Policy.h"

#include <algorithm>
#include <iterator>

#include "BoardFiles/Addresses.h"
#include "SmbusService/Judgement.h"
#include "SmbusService/PolicyRules.h"

namespace SmbusService {

namespace {

using BoardFiles::kMemories;
using BoardFiles::kMemoryProtection;
using BoardFiles::PolicyRule;

PolicyRule::Region everywhere( uint8_t first, uint8_t last ) {
   PolicyRule::Region region{};
   for ( unsigned address = first; address <= last; ++address ) {
      region.addresses.set( address );
   }
   return region;
}

std::vector< BusTree::Channel > channelsOf( const PolicyMap::Adapter& map,
                                            const PolicyMap::Target& target ) {
   return target.mux == BusTree::kNone ? std::vector< BusTree::Channel >()
                                       : map.tree.muxes[ target.mux ].channels;
}

}  // namespace

Policy::Policy( std::vector< PolicyRule > rules, const BoardFiles::Wiring& wiring )
    : rules_( std::move( rules ) ), map_( rules_, wiring ) {}

std::optional< Refusal > Policy::judge( const Peer& peer,
                                        const std::vector< Step >& steps,
                                        Found found ) const {
   Judgement judgement( map_, peer, steps, found );
   for ( size_t i = 0; i < steps.size(); ++i ) {
      if ( auto problem = judgement.next() ) {
         return Refusal{ i, std::move( *problem ) };
      }
   }
   return std::nullopt;
}

void Policy::forEachDevice( const Peer& peer,
                            const std::function< void( const Permission& ) >& visit ) const {
   for ( const auto& [ id, map ] : map_.adapters ) {
      for ( size_t segment = 0; segment < map.segments.size(); ++segment ) {
         for ( uint8_t address = 0; address < 128; ++address ) {
            for ( const PolicyMap::Target& target : map.at( segment, address ).targets ) {
               Permission permission{ target, address, {} };
               std::ranges::copy_if( target.rules, std::back_inserter( permission.rules ),
                                     [ & ]( auto* rule ) { return isFor( *rule, peer ); } );
               for ( const BusTree::Channel& channel : channelsOf( map, target ) ) {
                  if ( hasRuleFor( peer, map.segments[ channel.segment ].below ) ) {
                     permission.channels.push_back( channel.value );
                  }
               }
               visit( permission );
            }
         }
      }
   }
}

std::vector< PolicyRule > rulesOf( const std::string& file, const BoardFiles::Wiring& wiring ) {
   return file.empty() ? rulesWithoutPolicy() : BoardFiles::loadPolicy( file, wiring );
}

std::vector< PolicyRule > rulesWithoutPolicy() {
   // Memories have register numbers of up to two bytes; what protects them has none.
   PolicyRule memories{ .name = "memories, without a policy", .isForAll = true, .reads = true };
   memories.regions = { everywhere( kMemories.first, kMemories.last ) };
   memories.registerSize = 2;
   PolicyRule protection = memories;
   protection.name = "protection of memories, without a policy";
   protection.regions = { everywhere( kMemoryProtection.first, kMemoryProtection.last ) };
   protection.registerSize = 1;
   PolicyRule others{ .name = "without a policy", .isForAll = true, .reads = true, .writes = true };
   others.regions = { everywhere( 0, kMemoryProtection.first - 1 ),
                      everywhere( kMemoryProtection.last + 1, kMemories.first - 1 ),
                      everywhere( kMemories.last + 1, 0x7f ) };
   return { memories, protection, others };
}

}  // namespace SmbusService
