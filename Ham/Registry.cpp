#include "Drivers/Drivers.h"
#include "Ham/Ham.h"
#include "Ham/LumenSmbusHam.h"
#include "Ham/SearchVisitor.h"
#include "Ham/SimHam.h"
#include "Topology/Topology.h"
#include "Utils/Assert.h"
#include "Utils/Simulation.h"

namespace Ham {

std::map< std::string, HamFactory > hams = {
   { "LumenSmbus", LumenSmbusHam::create },
   { "SimHam", SimHam::create },
};
std::map< std::string, HamFactory > ipmiHams;

Ham* Ham::create( const std::string& name,
                  const Topology::Topology& topology,
                  const Drivers::DriverArgs& args ) {
   pl_trace( 3, "looking up for %s in %p with %p", name.c_str(),
             static_cast< const void* >( &topology ), static_cast< const void* >( &args ) );
   auto it = hams.find( name );
   if ( it == hams.end() ) {
      pl_trace( 0, "Couldn't find HAM %s", name.c_str() );
      return nullptr;
   }
   pl_trace( 3, "calling %s factory function", name.c_str() );
   Ham* ham = it->second( topology, args );
   if ( !ham ) {
      pl_trace( 0, "Factory function returned, couldn't create HAM %s", name.c_str() );
      return nullptr;
   }
   pl_trace( 3, "ham initialisation" );
   ham->init();
   return ham;
}

Ham* createHam( const Drivers::DriverArgs& args ) {
   const Topology::Topology* topology = Topology::_topology;
   LUMEN_ASSERT( topology );
   pl_trace( 0, "looking for component %u of device %u in topology", args.uid, args.did );
   SearchVisitor visitor( args.uid, args.did );
   if ( args.uid == Drivers::DriverArgs::kNoUid ) {
      topology->acceptFromDevice( args.did, &visitor );
   } else {
      topology->acceptFromComponent( args.uid, &visitor );
   }
   if ( !visitor.found ) {
      pl_trace( 0, "could not find component uid %d in topology",
                static_cast< int32_t >( args.uid ) );
      return nullptr;
   }
   std::string name = Utils::inSimulation() ? "SimHam" : visitor.ham;
   pl_trace( 0, "creating %s HAM using topology information", name.c_str() );
   Ham* ham = Ham::create( name, *topology, args );
   if ( !ham ) {
      pl_trace( 0, "failed to create HAM" );
   }
   return ham;
}

}  // namespace Ham
