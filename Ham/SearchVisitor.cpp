#include "Ham/SearchVisitor.h"

#include "Drivers/Drivers.h"
#include "pl.h"

namespace Ham {

bool SearchVisitor::visit( const Topology::Component* component ) {
   if ( component->uid != uid ) {
      return true;
   }
   pl_trace( 2, "Component %u found in tree", uid );
   found = true;
   return false;
}

bool SearchVisitor::visit( const Topology::Device* node ) {
   if ( !found && ( uid != Drivers::DriverArgs::kNoUid || node->did != did ) ) {
      return true;
   }
   pl_trace( 2, "Device %u contain the component", node->did );
   found = true;
   device = node;
   return false;
}

bool SearchVisitor::visit( const Topology::Accelerator* accelerator ) {
   if ( found ) {
      pl_trace( 2, "AccelId %u", accelerator->id );
   }
   return true;
}

bool SearchVisitor::visit( const Topology::Bus* bus ) {
   if ( found ) {
      pl_trace( 2, "BusId %u", bus->id );
   }
   return true;
}

bool SearchVisitor::visit( const Topology::Mux* mux ) {
   if ( found ) {
      pl_trace( 2, "Mux using device %d", static_cast< int >( mux->did ) );
   }
   return !found;
}

bool SearchVisitor::visit( const Topology::SCD* medium ) {
   if ( found ) {
      ham = medium->ham;
      pl_trace( 2, "SCD %u %08X", medium->reserved, medium->pci );
   }
   return true;
}

bool SearchVisitor::visit( const Topology::I2C* medium ) {
   if ( found ) {
      ham = medium->ham;
      pl_trace( 2, "I2C bus %u", medium->id );
   }
   return true;
}

bool SearchVisitor::visit( const Topology::IOPort* medium ) {
   return takeHam( medium, Media::kIoPort );
}
bool SearchVisitor::visit( const Topology::Celestica* medium ) {
   return takeHam( medium, Media::kCelestica );
}
bool SearchVisitor::visit( const Topology::PLM* medium ) {
   return takeHam( medium, Media::kPlm );
}
bool SearchVisitor::visit( const Topology::SccSpi* medium ) {
   return takeHam( medium, Media::kSccSpi );
}
bool SearchVisitor::visit( const Topology::FbDomFpga* medium ) {
   return takeHam( medium, Media::kFbDomFpga );
}

bool SearchVisitor::takeHam( const Topology::MediumNode* node, const Media::Medium& medium ) {
   if ( found ) {
      ham = node->ham;
      pl_trace( 2, "%s", medium.type.data() );
   }
   return true;
}

}  // namespace Ham
