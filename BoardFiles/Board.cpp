#include "BoardFiles/Board.h"

#include <algorithm>
#include <filesystem>
#include <stdexcept>
#include <system_error>

#include "BoardFiles/Documents.h"
#include "BoardFiles/EmulationCheck.h"
#include "BoardFiles/ObjectCheck.h"
#include "BoardFiles/TopologyCheck.h"

namespace BoardFiles {

namespace {

using Utils::Json::Value;

Kind kindNamed( std::string_view name ) {
   size_t kind = 0;
   while ( kind < kKindNames.size() - 1 && kKindNames[ kind ] != name ) {
      ++kind;
   }
   return static_cast< Kind >( kind );
}

std::optional< double > number( const Value& object, const char* key ) {
   auto member = object.FindMember( key );
   return member == object.MemberEnd() ? std::nullopt : std::optional( member->value.GetDouble() );
}

ObjectSpec readObject( const Value& object ) {
   ObjectSpec spec{ .kind = kindNamed( object[ "kind" ].GetString() ),
                    .name = object[ "name" ].GetString(),
                    .device = "{}",
                    .alert = number( object, "alert" ),
                    .critical = number( object, "critical" ),
                    .low = number( object, "low" ),
                    .hysteresis = number( object, "hysteresis" ),
                    .expected = number( object, "expected" ) };
   if ( spec.kind == Kind::Fan ) {
      spec.range = FanRange::of( object );
   }
   if ( object.HasMember( "label" ) ) {
      spec.device = object[ "label" ].GetString();
      spec.address = static_cast< uint8_t >( object[ "address" ].GetUint() );
   } else if ( object.HasMember( "device" ) ) {
      spec.device = Utils::Json::write( object[ "device" ] );
   }
   return spec;
}

// A link to nowhere is present, too.
bool isLookedAt( Demand demand, const std::string& path ) {
   std::error_code error;
   auto status = std::filesystem::symlink_status( path, error );
   return demand == Demand::Needed ||
          ( demand == Demand::IfPresent && status.type() != std::filesystem::file_type::not_found );
}

bool isMistakeFree( const BoardFile& document, const std::vector< Finding >& findings ) {
   return document.sound && std::ranges::all_of( findings, [ & ]( const Finding& finding ) {
             return finding.isWarning || finding.file != document.path;
          } );
}

}  // namespace

Board loadBoard( const std::string& directory, const Extent& extent ) {
   std::error_code error;
   if ( !std::filesystem::is_directory( directory, error ) ) {
      throw std::runtime_error( directory + ": no such board folder" );
   }
   std::vector< Finding > findings;
   BoardFile topology = readTopology( directory, findings );
   BoardFile objects = readObjects( directory, findings );
   BoardFile chips;
   BoardFile adapters;
   bool hasEmulation = isLookedAt( extent.emulation, directory + "/emulation.json" );
   if ( hasEmulation ) {
      chips = readEmulation( directory, findings );
   }
   if ( isLookedAt( extent.adapters, directory + "/adapters.json" ) ) {
      adapters = readAdapters( directory, findings );
   }
   Wiring wiring;
   AddressCheck addresses( wiring, findings );
   DriverCheck drivers( extent.drivers, findings );
   const Checks checks{ wiring, addresses, drivers, findings };
   if ( topology.sound ) {
      checkTopology( topology, checks );
   }
   if ( topology.sound && objects.sound ) {
      checkObjects( objects, checks );
   }
   std::map< size_t, unsigned > bitRates;
   if ( topology.sound && objects.sound && chips.sound ) {
      checkEmulation( chips, wiring, findings );
      bitRates = readBitRates( chips, wiring, findings );
   }
   std::vector< AdapterSpec > adapterSpecs;
   if ( adapters.sound && isMistakeFree( topology, findings ) ) {
      adapterSpecs = readAdapterSpecs( adapters, wiring, findings );
   }
   addresses.compare();
   if ( !std::ranges::all_of( findings, &Finding::isWarning ) ) {
      throw BoardError( std::move( findings ) );
   }

   Board board{ .directory = directory,
                .topology = std::move( topology.text ),
                .objectsText = std::move( objects.text ),
                .wiring = std::move( wiring ),
                .bitRates = std::move( bitRates ),
                .warnings = std::move( findings ),
                .hasEmulation = hasEmulation,
                .adapters = std::move( adapterSpecs ) };
   for ( const Value& object : objects.json[ "objects" ].GetArray() ) {
      board.objects.push_back( readObject( object ) );
   }
   if ( hasEmulation ) {
      Place place{ chips.path, "/chips" };
      for ( const Value& chip : chips.json[ "chips" ].GetArray() ) {
         std::string position = std::to_string( board.chips.size() );
         board.chips.push_back( readChip( chip, place.member( position ) ) );
      }
   }
   return board;
}

}  // namespace BoardFiles
