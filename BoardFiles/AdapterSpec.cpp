#include "BoardFiles/AdapterSpec.h"

#include <fmt/format.h>

#include <map>

#include "BoardFiles/AdapterPlace.h"

namespace BoardFiles {

namespace {

using Utils::Json::Value;

constexpr const char* kWays[] = { "name", "path", "number" };

std::optional< std::string > textOf( const Value& entry, const char* key ) {
   return entry.HasMember( key ) ? std::optional( entry[ key ].GetString() ) : std::nullopt;
}

std::optional< unsigned > numberOf( const Value& entry, const char* key ) {
   return entry.HasMember( key ) ? std::optional( entry[ key ].GetUint() ) : std::nullopt;
}

void checkWay( const Value& entry, const Place& place, std::vector< Finding >& findings ) {
   int ways = 0;
   for ( const char* way : kWays ) {
      ways += entry.HasMember( way );
   }
   if ( ways != 1 ) {
      findings.push_back( { place.file, place.pointer,
                            fmt::format( "{}one of \"name\", \"path\" and \"number\" tells which "
                                         "adapter it is",
                                         ways ? "only " : "" ) } );
   }
   if ( entry.HasMember( "number" ) ) {
      findings.push_back( { place.file, place.member( "number" ).pointer,
                            "the system may number its adapters in another way at its next start; "
                            "\"name\" or \"path\" stay",
                            true } );
   }
}

void warnOfMissing( const BoardFile& adapters,
                    const std::map< size_t, std::string >& seen,
                    const Wiring& wiring,
                    std::vector< Finding >& findings ) {
   for ( size_t i = 0; i < wiring.adapters.size(); ++i ) {
      const Wiring::Adapter& adapter = wiring.adapters[ i ];
      if ( !seen.contains( i ) && adapter.master != Smbus::MASTER_SIMULATED ) {
         findings.push_back(
            { adapters.path, "",
              fmt::format( "{} has no entry: nothing on it can be reached", adapter.name() ),
              true } );
      }
   }
}

}  // namespace

std::vector< AdapterSpec > readAdapterSpecs( const BoardFile& adapters,
                                             const Wiring& wiring,
                                             std::vector< Finding >& findings ) {
   std::vector< AdapterSpec > specs;
   std::map< size_t, std::string > seen;
   size_t position = 0;
   for ( const Value& entry : adapters.json.GetArray() ) {
      Place place{ adapters.path, fmt::format( "/{}", position++ ) };
      checkWay( entry, place, findings );
      auto adapter = findAdapter( entry, place, wiring, findings );
      if ( !adapter ) {
         continue;
      }
      auto [ first, isNew ] = seen.insert( { *adapter, place.pointer } );
      if ( !isNew ) {
         findings.push_back( { place.file, place.pointer,
                               fmt::format( "{} is already the bus of {}",
                                            wiring.adapters[ *adapter ].name(), first->second ) } );
      }
      specs.push_back( { .adapter = *adapter,
                         .place = place,
                         .name = textOf( entry, "name" ),
                         .path = textOf( entry, "path" ),
                         .number = numberOf( entry, "number" ),
                         .isShared = entry.HasMember( "shared" ) && entry[ "shared" ].GetBool() } );
      if ( auto timeout = numberOf( entry, "timeoutMs" ) ) {
         specs.back().timeout = std::chrono::milliseconds( *timeout );
      }
   }
   if ( specs.size() == adapters.json.Size() ) {
      warnOfMissing( adapters, seen, wiring, findings );
   }
   return specs;
}

}  // namespace BoardFiles
