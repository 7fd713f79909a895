#include "Host/Board.h"

#include <filesystem>

#include "Host/Check.h"
#include "Host/Documents.h"

namespace Host {

namespace {

using Utils::Json::Value;

Kind kindNamed( std::string_view name ) {
   size_t kind = 0;
   while ( kind < kKinds.size() - 1 && kKinds[ kind ].name != name ) {
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
                    .critical = number( object, "critical" ) };
   if ( object.HasMember( "label" ) ) {
      spec.device = object[ "label" ].GetString();
      spec.address = static_cast< uint8_t >( object[ "address" ].GetUint() );
   } else if ( object.HasMember( "device" ) ) {
      spec.device = Utils::Json::write( object[ "device" ] );
   }
   return spec;
}

}  // namespace

Board loadBoard( const std::string& directory, Emulation emulation ) {
   if ( !std::filesystem::is_directory( directory ) ) {
      throw StartError( directory + ": no such board folder" );
   }
   std::vector< Finding > findings;
   BoardFile topology = readTopology( directory, findings );
   BoardFile objects = readObjects( directory, findings );
   BoardFile chips;
   if ( emulation == Emulation::Needed ||
        ( emulation == Emulation::IfPresent &&
          std::filesystem::exists( directory + "/emulation.json" ) ) ) {
      chips = readEmulation( directory, findings );
   }
   if ( topology.sound ) {
      TopologyIndex index = checkTopology( topology, findings );
      if ( objects.sound ) {
         checkObjects( objects, index, findings );
      }
      if ( objects.sound && chips.sound ) {
         checkEmulation( chips, index, findings );
      }
   }
   if ( !findings.empty() ) {
      throw BoardError( std::move( findings ) );
   }

   Board board{ .directory = directory, .topology = std::move( topology.text ) };
   for ( const Value& object : objects.json[ "objects" ].GetArray() ) {
      board.objects.push_back( readObject( object ) );
   }
   return board;
}

}  // namespace Host
