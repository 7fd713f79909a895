#include <set>

#include "BoardFiles/Check.h"
#include "BoardFiles/DeviceArguments.h"
#include "BoardFiles/Schema.h"

namespace BoardFiles {

namespace {

using Utils::Json::Value;

// Walks the tree once, remembers where everything is, and reports what is there twice.
class TopologyWalk {
 public:
   TopologyWalk( const std::string& file, Wires& wires, std::vector< Finding >& findings )
       : file_( file ), wires_( wires ), findings_( findings ) {}

   void walk( const Value& mediums );
   void checkMuxes();

   TopologyIndex index;

 private:
   using Seen = std::map< int64_t, std::string >;

   template < typename Visit >
   void forEach( const Value& node, const char* key, const std::string& pointer, Visit visit );

   void medium( const Value& node, const std::string& pointer );
   void accelerators( const Value& node, Wires::Adapter adapter, const std::string& pointer );
   void busses( const Value& node, Wires::Adapter adapter, const std::string& pointer );
   void channels( const Value& node, uint32_t chip, size_t above, const std::string& pointer );
   void bus( const Value& node, size_t wire, const std::string& pointer );
   void devices( const Value& node, size_t wire, const std::string& pointer );
   void mux( const Value& node, size_t wire, const std::string& pointer );
   void device( const Value& node, size_t wire, const std::string& pointer );
   void inRange(
      const Value& node, int low, int high, const char* why, const std::string& pointer );
   void label( const Value& node, const std::string& pointer );
   bool unique( Seen& seen, const Value& node, const char* key, const std::string& pointer );
   bool reachesItself( uint32_t did, uint32_t through, std::set< uint32_t >& visited ) const;
   void report( const std::string& pointer, const std::string& problem ) {
      findings_.push_back( { file_, pointer, problem } );
   }

   const std::string& file_;
   Wires& wires_;
   std::vector< Finding >& findings_;
   std::vector< uint32_t > path_;  // mux chips above the node that is visited
   Seen dids_, uids_;
   std::map< std::string, std::string > labels_;
   std::vector< std::pair< uint32_t, std::string > > muxes_;  // chip and node
};

template < typename Visit >
void TopologyWalk::forEach( const Value& node,
                            const char* key,
                            const std::string& pointer,
                            Visit visit ) {
   auto member = node.FindMember( key );
   if ( member == node.MemberEnd() ) {
      return;
   }
   size_t position = 0;
   for ( const Value& child : member->value.GetArray() ) {
      visit( child, pointer + "/" + key + "/" + std::to_string( position++ ) );
   }
}

void TopologyWalk::walk( const Value& mediums ) {
   size_t position = 0;
   for ( const Value& child : mediums.GetArray() ) {
      std::string pointer = "/" + std::to_string( position++ );
      label( child, pointer );
      medium( child, pointer );
   }
}

// What the type does not have, nobody reads.
void TopologyWalk::medium( const Value& node, const std::string& pointer ) {
   std::string type = node[ "type" ].GetString();
   if ( type == "SCD" ) {
      accelerators( node, { .master = type, .pci = node[ "pci" ].GetUint() }, pointer );
   } else if ( type == "Celestica" ) {
      accelerators( node, { .master = type }, pointer );
   } else if ( type == "FbDomFpga" ) {
      busses( node, { .master = type, .pci = node[ "pci" ].GetUint() }, pointer );
   } else if ( type == "LinuxFs" ) {
      devices( node, Wires::kNone, pointer );
   } else {
      bool simulated =
         type == "I2C" && node.HasMember( "simulated" ) && node[ "simulated" ].GetBool();
      bus( node,
           wires_.atAdapter( { .master = simulated ? "simulated" : type }, { file_, pointer } ),
           pointer );
   }
}

void TopologyWalk::accelerators( const Value& node,
                                 Wires::Adapter adapter,
                                 const std::string& pointer ) {
   Seen ids;
   forEach( node, "accelerators", pointer, [ & ]( const Value& child, const auto& place ) {
      unique( ids, child, "id", place );
      label( child, place );
      adapter.accelerator = child[ "id" ].GetUint();
      busses( child, adapter, place );
   } );
}

void TopologyWalk::busses( const Value& node, Wires::Adapter adapter, const std::string& pointer ) {
   Seen ids;
   forEach( node, "busses", pointer, [ & ]( const Value& child, const auto& place ) {
      bool isNew = unique( ids, child, "id", place );
      inRange( child, 0, 127, "the number of a bus travels in 7 bits", place );
      label( child, place );
      adapter.bus = child[ "id" ].GetInt();
      bus( child, isNew ? wires_.atAdapter( adapter, { file_, place } ) : Wires::kNone, place );
   } );
}

void TopologyWalk::channels( const Value& node,
                             uint32_t chip,
                             size_t above,
                             const std::string& pointer ) {
   Seen ids;
   forEach( node, "busses", pointer, [ & ]( const Value& child, const auto& place ) {
      unique( ids, child, "id", place );
      inRange( child, 1, 255, "it is the byte that opens the channel", place );
      label( child, place );
      bus( child, wires_.behindMux( chip, child[ "id" ].GetInt(), above ), place );
   } );
}

void TopologyWalk::bus( const Value& node, size_t wire, const std::string& pointer ) {
   devices( node, wire, pointer );
   forEach( node, "muxes", pointer,
            [ & ]( const Value& child, const auto& place ) { mux( child, wire, place ); } );
}

void TopologyWalk::devices( const Value& node, size_t wire, const std::string& pointer ) {
   forEach( node, "devices", pointer,
            [ & ]( const Value& child, const auto& place ) { device( child, wire, place ); } );
}

void TopologyWalk::mux( const Value& node, size_t wire, const std::string& pointer ) {
   uint32_t chip = node[ "did" ].GetUint();
   label( node, pointer );
   muxes_.emplace_back( chip, pointer );
   path_.push_back( chip );
   channels( node, chip, wire, pointer );
   path_.pop_back();
}

void TopologyWalk::device( const Value& node, size_t wire, const std::string& pointer ) {
   uint32_t did = node[ "did" ].GetUint();
   unique( dids_, node, "did", pointer );
   label( node, pointer );
   bool declared = node.HasMember( "driver" );
   index.devices.insert( { did, { pointer, declared, declared, path_, wire } } );
   if ( node.HasMember( "label" ) ) {
      index.labels[ node[ "label" ].GetString() ] = did;
   }
   if ( declared ) {
      checkDriverArguments( node, pointer, file_, findings_ );
      if ( auto address = addressOf( node ) ) {
         wires_.addDevice( wire, did, *address, { file_, pointer } );
      }
   }
   forEach( node, "components", pointer, [ & ]( const Value& child, const auto& place ) {
      unique( uids_, child, "uid", place );
      label( child, place );
      index.components.insert( { child[ "uid" ].GetUint(), place } );
   } );
}

void TopologyWalk::label( const Value& node, const std::string& pointer ) {
   auto member = node.FindMember( "label" );
   if ( member == node.MemberEnd() ) {
      return;
   }
   auto [ it, isNew ] = labels_.insert( { member->value.GetString(), pointer } );
   if ( !isNew ) {
      report( pointer + "/label", "\"" + it->first + "\" is already the label of " + it->second );
   }
}

bool TopologyWalk::unique( Seen& seen,
                           const Value& node,
                           const char* key,
                           const std::string& pointer ) {
   int64_t id = node[ key ].GetInt64();
   auto [ it, isNew ] = seen.insert( { id, pointer } );
   if ( !isNew ) {
      report( pointer + "/" + key,
              std::to_string( id ) + " is already the " + key + " of " + it->second );
   }
   return isNew;
}

void TopologyWalk::inRange(
   const Value& node, int low, int high, const char* why, const std::string& pointer ) {
   int id = node[ "id" ].GetInt();
   if ( id < low || id > high ) {
      report( pointer + "/id",
              "must be " + std::to_string( low ) + " to " + std::to_string( high ) + ": " + why );
   }
}

// The chip of a mux is reached through the muxes above it: none of them may be its own.
bool TopologyWalk::reachesItself( uint32_t did,
                                  uint32_t through,
                                  std::set< uint32_t >& visited ) const {
   auto it = index.devices.find( through );
   if ( it == index.devices.end() || !visited.insert( through ).second ) {
      return false;
   }
   for ( uint32_t above : it->second.muxes ) {
      if ( above == did || reachesItself( did, above, visited ) ) {
         return true;
      }
   }
   return false;
}

void TopologyWalk::checkMuxes() {
   for ( const auto& [ did, pointer ] : muxes_ ) {
      auto chip = index.devices.find( did );
      std::string name = "mux chip " + std::to_string( did );
      std::set< uint32_t > visited;
      if ( chip == index.devices.end() ) {
         report( pointer + "/did", name + " is no device of the topology" );
      } else if ( !chip->second.declared ) {
         report( pointer + "/did",
                 name + " is not declared inline: " + chip->second.pointer + " has no \"driver\"" );
      } else if ( reachesItself( did, did, visited ) ) {
         report( pointer + "/did", name + " is reached through itself" );
      }
   }
}

}  // namespace

TopologyIndex checkTopology( const BoardFile& topology,
                             Wires& wires,
                             std::vector< Finding >& findings ) {
   TopologyWalk walk( topology.path, wires, findings );
   walk.walk( topology.json );
   walk.checkMuxes();
   return std::move( walk.index );
}

}  // namespace BoardFiles
