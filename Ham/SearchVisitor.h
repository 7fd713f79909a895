#pragma once

#include <string>

#include "BoardFiles/Media.h"
#include "Topology/Topology.h"

namespace Ham {

// Finds a component, or a device when no component is sought, and the HAM name of the medium above.
class SearchVisitor final : public Topology::TopologyVisitor {
 public:
   SearchVisitor( uint32_t wantedUid, uint32_t wantedDid ) : uid( wantedUid ), did( wantedDid ) {}

   using TopologyVisitor::visit;
   bool visit( const Topology::Component* component ) override;
   bool visit( const Topology::Device* node ) override;
   bool visit( const Topology::Mux* mux ) override;
   bool visit( const Topology::Bus* bus ) override;
   bool visit( const Topology::Accelerator* accelerator ) override;
   bool visit( const Topology::SCD* medium ) override;
   bool visit( const Topology::I2C* medium ) override;
   bool visit( const Topology::IOPort* medium ) override;
   bool visit( const Topology::Celestica* medium ) override;
   bool visit( const Topology::PLM* medium ) override;
   bool visit( const Topology::SccSpi* medium ) override;
   bool visit( const Topology::FbDomFpga* medium ) override;

   uint32_t uid;
   uint32_t did;
   bool found = false;
   const Topology::Device* device = nullptr;
   std::string ham;

 private:
   bool takeHam( const Topology::MediumNode* node, const Media::Medium& medium );
};

}  // namespace Ham
