#include "SmbusService/PolicyMap.h"

#include <fmt/format.h>

#include <algorithm>

namespace SmbusService {

namespace {

using BoardFiles::PolicyRule;
using BoardFiles::Wiring;

void insert( PolicyMap::Rules& rules, const PolicyRule& rule ) {
   if ( std::ranges::find( rules, &rule ) == rules.end() ) {
      rules.push_back( &rule );
   }
}

// The same where the rules come one after another.
void append( PolicyMap::Rules& rules, const PolicyRule& rule ) {
   if ( rules.empty() || rules.back() != &rule ) {
      rules.push_back( &rule );
   }
}

// Fills in the map of one adapter, whose tree is there.
class Surveyor {
 public:
   Surveyor( const std::vector< PolicyRule >& rules,
             const Wiring& wiring,
             PolicyMap::Adapter& adapter )
       : rules_( rules ), wiring_( wiring ), adapter_( adapter ), tree_( adapter.tree ) {}

   void survey();

 private:
   void surveyMuxes();
   void surveyDevices( size_t segment );
   void surveyRegion( const PolicyRule&, const PolicyRule::Region& );
   bool covers( const PolicyRule::Region&, size_t segment ) const;
   bool covers( const PolicyRule&, const BusTree::Device&, size_t segment ) const;
   PolicyMap::Cell& cellAt( size_t segment, uint8_t address );
   void noteBelow( size_t segment, const PolicyRule& );

   const std::vector< PolicyRule >& rules_;
   const Wiring& wiring_;
   PolicyMap::Adapter& adapter_;
   const BusTree& tree_;
};

void Surveyor::survey() {
   for ( const BusTree::Segment& segment : tree_.segments ) {
      adapter_.segments.push_back( { .name = wiring_.nameOf( segment.bus ) } );
   }
   surveyMuxes();
   for ( size_t i = 0; i < tree_.segments.size(); ++i ) {
      surveyDevices( i );
   }
   for ( const PolicyRule& rule : rules_ ) {
      for ( const PolicyRule::Region& region : rule.regions ) {
         surveyRegion( rule, region );
      }
   }
}

void Surveyor::surveyMuxes() {
   for ( const BusTree::Mux& mux : tree_.muxes ) {
      uint8_t known = 0;
      for ( const BusTree::Channel& channel : mux.channels ) {
         known |= channel.value;
      }
      adapter_.knownChannels.push_back( known );
   }
}

void Surveyor::surveyDevices( size_t segment ) {
   for ( const BusTree::Device& device : tree_.segments[ segment ].devices ) {
      auto mux = std::ranges::find( tree_.muxes, device.did, &BusTree::Mux::did );
      bool isMux = mux != tree_.muxes.end();
      const std::string& label = wiring_.devices.at( device.did ).label;
      PolicyMap::Target target{
         .did = device.did,
         .name = label.empty() ? fmt::format( "device {}", device.did ) : label };
      target.mux = isMux ? static_cast< size_t >( mux - tree_.muxes.begin() ) : BusTree::kNone;
      for ( const PolicyRule& rule : rules_ ) {
         // The one byte that a mux takes is the last one, which the register number is not.
         bool isSensible = !isMux || rule.registers.empty();
         if ( isSensible && covers( rule, device, segment ) ) {
            target.rules.push_back( &rule );
            noteBelow( segment, rule );
         }
      }
      cellAt( segment, device.address ).targets.push_back( std::move( target ) );
   }
}

void Surveyor::surveyRegion( const PolicyRule& rule, const PolicyRule::Region& region ) {
   for ( size_t address = 0; address < region.addresses.size(); ++address ) {
      if ( !region.addresses[ address ] ) {
         continue;
      }
      for ( size_t segment = 0; segment < tree_.segments.size(); ++segment ) {
         if ( covers( region, segment ) ) {
            append( cellAt( segment, static_cast< uint8_t >( address ) ).rules, rule );
         }
      }
      if ( !region.bus && covers( region, 0 ) ) {
         append( adapter_.everywhere[ address ], rule );
      }
   }
   for ( size_t segment = 0; segment < tree_.segments.size(); ++segment ) {
      if ( region.addresses.any() && covers( region, segment ) ) {
         noteBelow( segment, rule );
      }
   }
}

bool Surveyor::covers( const PolicyRule::Region& region, size_t segment ) const {
   size_t bus = tree_.segments[ segment ].bus;
   return ( !region.adapter || *region.adapter == wiring_.busses[ bus ].adapter ) &&
          ( !region.bus || *region.bus == bus );
}

bool Surveyor::covers( const PolicyRule& rule,
                       const BusTree::Device& device,
                       size_t segment ) const {
   return rule.hasAllDevices || rule.devices.contains( device.did ) ||
          std::ranges::any_of( rule.regions, [ & ]( const PolicyRule::Region& region ) {
             return region.addresses[ device.address ] && covers( region, segment );
          } );
}

PolicyMap::Cell& Surveyor::cellAt( size_t segment, uint8_t address ) {
   uint32_t& cell = adapter_.segments[ segment ].cells[ address ];
   if ( cell == 0 ) {
      cell = static_cast< uint32_t >( adapter_.cells.size() );
      adapter_.cells.emplace_back();
   }
   return adapter_.cells[ cell ];
}

// What is on a segment is behind every mux that leads there.
void Surveyor::noteBelow( size_t segment, const PolicyRule& rule ) {
   insert( adapter_.segments[ segment ].below, rule );
   for ( const auto& [ mux, channel ] : tree_.pathTo( segment ) ) {
      insert( adapter_.segments[ tree_.muxes[ mux ].segment ].below, rule );
   }
}

}  // namespace

PolicyMap::PolicyMap( const std::vector< PolicyRule >& rules, const Wiring& wiring ) {
   for ( auto& [ id, tree ] : busTreesOf( wiring ) ) {
      Adapter& adapter = adapters[ id ];
      adapter.tree = tree;
      Surveyor( rules, wiring, adapter ).survey();
   }
}

}  // namespace SmbusService
