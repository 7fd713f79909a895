#include "BoardFiles/EmulationCheck.h"

#include <fmt/format.h>

#include "BoardFiles/AdapterPlace.h"

namespace BoardFiles {

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
      if ( auto problem = wiring.whyOutOfReach( did ); !problem.empty() ) {
         findings.push_back( { emulation.path, pointer + "/did", problem } );
      }
      if ( chip.HasMember( "contents" ) && chip.HasMember( "fields" ) ) {
         findings.push_back( { emulation.path, pointer,
                               "either \"contents\" or \"fields\" can be given, not both" } );
      }
   }
}

std::map< size_t, unsigned > readBitRates( const BoardFile& emulation,
                                           const Wiring& wiring,
                                           std::vector< Finding >& findings ) {
   std::map< size_t, unsigned > rates;
   std::map< size_t, std::string > seen;
   auto [ common, adapters ] = Utils::Json::members< "bitRate", "adapters" >( emulation.json );
   for ( size_t i = 0; common && i < wiring.adapters.size(); ++i ) {
      rates[ i ] = common->GetUint();
   }
   for ( size_t i = 0; adapters && i < adapters->Size(); ++i ) {
      const auto& entry = ( *adapters )[ static_cast< rapidjson::SizeType >( i ) ];
      Place place{ emulation.path, fmt::format( "/adapters/{}", i ) };
      auto adapter = findAdapter( entry, place, wiring, findings );
      if ( !adapter ) {
         continue;
      }
      rates[ *adapter ] = entry[ "bitRate" ].GetUint();
      auto [ first, isNew ] = seen.insert( { *adapter, place.pointer } );
      if ( !isNew ) {
         findings.push_back( { place.file, place.pointer,
                               fmt::format( "{} has its rate in {} already",
                                            wiring.adapters[ *adapter ].name(), first->second ) } );
      }
   }
   return rates;
}

}  // namespace BoardFiles
