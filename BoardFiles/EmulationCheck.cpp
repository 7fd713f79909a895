#include "BoardFiles/EmulationCheck.h"

#include <fmt/format.h>

namespace BoardFiles {

namespace {

// Why no chip can be emulated in the device's place; empty when one can.
std::string problemOf( uint32_t did, const Wiring& wiring ) {
   auto entry = wiring.devices.find( did );
   if ( entry == wiring.devices.end() ) {
      return fmt::format( "device {} is not in the topology", did );
   }
   const Wiring::Device& device = entry->second;
   if ( device.bus == Wiring::kNone ) {
      return fmt::format( "device {} is on no bus: {}", did, device.pointer );
   }
   if ( !device.address ) {
      return fmt::format( "nobody gives device {} an address: {} has {}", did, device.pointer,
                          device.isDeclared ? "a \"driver\" that uses none" : "no \"driver\"" );
   }
   return {};
}

}  // namespace

void checkEmulation( const BoardFile& emulation,
                     const Wiring& wiring,
                     std::vector< Finding >& findings ) {
   std::map< uint32_t, std::string > seen;
   size_t position = 0;
   for ( const auto& chip : emulation.json[ "chips" ].GetArray() ) {
      std::string pointer = fmt::format( "/chips/{}", position++ );
      uint32_t did = chip[ "did" ].GetUint();
      auto [ first, isNew ] = seen.insert( { did, pointer } );
      if ( !isNew ) {
         findings.push_back( { emulation.path, pointer + "/did",
                               fmt::format( "{} is already the did of {}", did, first->second ) } );
      }
      if ( auto problem = problemOf( did, wiring ); !problem.empty() ) {
         findings.push_back( { emulation.path, pointer + "/did", problem } );
      }
      if ( chip.HasMember( "contents" ) && chip.HasMember( "fields" ) ) {
         findings.push_back( { emulation.path, pointer,
                               "either \"contents\" or \"fields\" can be given, not both" } );
      }
   }
}

}  // namespace BoardFiles
