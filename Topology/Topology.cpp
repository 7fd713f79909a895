#include "Topology/Topology.h"

#include <algorithm>

#include "Drivers/Drivers.h"

namespace Topology {

Topology* _topology = nullptr;
std::string _topology_json;

void Topology::acceptFor( uint32_t uid, uint32_t did, TopologyVisitor* visitor ) const {
   const Node* find = nullptr;
   if ( index_.isOf( *this ) ) {
      find = index_.component( uid );
      if ( uid == Drivers::DriverArgs::kNoUid ) {
         // A component with this very id stops the walk as well, when it comes first.
         find = find ? nullptr : index_.device( did );
      }
   }
   if ( !find ) {
      accept( visitor );
   }
   for ( ; find; find = find->parent ) {
      find->visitBy( visitor );
   }
}

const Device* Topology::indexedDevice( uint32_t did ) const {
   return index_.isOf( *this ) ? index_.device( did ) : nullptr;
}

bool SearchDeviceVisitor::visit( const Device* node ) {
   if ( node->did != did ) {
      return true;
   }
   pl_trace( 2, "Device %u found in topology", did );
   device = node;
   found = true;
   return false;
}

const Device* findDevice( uint32_t did ) {
   SearchDeviceVisitor visitor( did );
   if ( !_topology ) {
      return nullptr;
   }
   if ( const Device* device = _topology->indexedDevice( did ) ) {
      device->visitBy( &visitor );
   } else {
      std::ranges::all_of( _topology->mediums,
                           [ & ]( const auto& medium ) { return medium->accept( &visitor ); } );
   }
   return visitor.device;
}

}  // namespace Topology
