#include "BoardFiles/TopologyCheck.h"

#include <fmt/format.h>

#include <algorithm>
#include <bit>
#include <set>

#include "BoardFiles/DeviceArguments.h"
#include "BoardFiles/MemberCheck.h"
#include "BoardFiles/MuxCycles.h"

namespace BoardFiles {

namespace {

using Utils::Json::Value;

std::string labelOf( const Value& node ) {
   auto member = node.FindMember( "label" );
   return member == node.MemberEnd() ? "" : member->value.GetString();
}

// Walks the tree once, remembers where everything is, and reports what is there twice.
class TopologyWalk {
 public:
   TopologyWalk( const std::string& file, const Checks& checks )
       : file_( file ),
         wiring_( checks.wiring ),
         builder_( checks.wiring ),
         addresses_( checks.addresses ),
         drivers_( checks.drivers ),
         findings_( checks.findings ) {}

   void walk( const Value& media );
   void checkMuxes();

 private:
   using Seen = std::map< int64_t, std::string >;  // number to pointer

   template < typename Visit >
   void forEach( const Value& node, const char* key, const std::string& pointer, Visit visit );

   void medium( const Value& node, const std::string& pointer );
   void accelerators( const Value& node, Wiring::Adapter adapter, const std::string& pointer );
   void busses( const Value& node, Wiring::Adapter adapter, const std::string& pointer );
   void bus( const Value& node, size_t index, const std::string& pointer );
   void devices( const Value& node, size_t bus, const std::string& pointer );
   void device( const Value& node, size_t bus, const std::string& pointer );
   void mux( const Value& node, size_t bus, const std::string& pointer );
   void warnOfTwin( size_t bus, const std::string& pointer );

   void label( const Value& node, const std::string& pointer );
   void members( const Value& node, const char* definition, const std::string& pointer ) {
      warnOfMisspeltMembers( node, definition, { file_, pointer }, findings_ );
   }
   void warnOfSeveralChannels( const Value& bus, const std::string& pointer );
   template < typename Number >
   bool unique( std::map< Number, std::string >& seen,
                const Value& node,
                const char* key,
                const std::string& pointer );
   void inRange(
      const Value& node, int low, int high, const char* why, const std::string& pointer );
   void report( const std::string& pointer, const std::string& problem ) {
      findings_.push_back( { file_, pointer, problem } );
   }

   const std::string& file_;
   Wiring& wiring_;
   WiringBuilder builder_;
   AddressCheck& addresses_;
   DriverCheck& drivers_;
   std::vector< Finding >& findings_;
   std::map< uint32_t, std::string > dids_;  // to pointers, as the next
   std::map< std::string, std::string > labels_;
   std::vector< std::pair< uint32_t, std::string > > muxes_;  // chip and pointer
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
      visit( child, fmt::format( "{}/{}/{}", pointer, key, position++ ) );
   }
}

void TopologyWalk::walk( const Value& media ) {
   size_t position = 0;
   for ( const Value& child : media.GetArray() ) {
      std::string pointer = fmt::format( "/{}", position++ );
      members( child, "medium", pointer );
      label( child, pointer );
      medium( child, pointer );
   }
}

// What the type does not have, nobody reads.
void TopologyWalk::medium( const Value& node, const std::string& pointer ) {
   std::string_view type = node[ "type" ].GetString();
   const Media::Medium& medium = *std::ranges::find( Media::kAll, type, &Media::Medium::type );
   drivers_.ham( node[ "ham" ].GetString(), { file_, pointer } );
   Wiring::Adapter adapter{ .master = medium.master,
                            .pci = medium.hasPci ? node[ "pci" ].GetUint() : 0,
                            .label = labelOf( node ),
                            .pointer = pointer,
                            .medium = medium };
   switch ( medium.shape ) {
      case Media::Shape::Accelerators:
         accelerators( node, adapter, pointer );
         break;
      case Media::Shape::Busses:
         busses( node, adapter, pointer );
         break;
      case Media::Shape::Devices:
         devices( node, Wiring::kNone, pointer );
         break;
      case Media::Shape::Bus:
         if ( medium.master == Smbus::MASTER_I2C && node.HasMember( "simulated" ) &&
              node[ "simulated" ].GetBool() ) {
            adapter.master = Smbus::MASTER_SIMULATED;
         }
         auto [ index, isFirst ] = builder_.busAt( adapter, labelOf( node ) );
         if ( !isFirst ) {
            warnOfTwin( index, pointer );
         }
         bus( node, index, pointer );
   }
}

void TopologyWalk::accelerators( const Value& node,
                                 Wiring::Adapter adapter,
                                 const std::string& pointer ) {
   Seen ids;
   forEach( node, "accelerators", pointer, [ & ]( const Value& child, const auto& place ) {
      members( child, "accelerator", place );
      unique( ids, child, "id", place );
      label( child, place );
      adapter.accelerator = child[ "id" ].GetUint();
      busses( child, adapter, place );
   } );
}

void TopologyWalk::busses( const Value& node,
                           Wiring::Adapter adapter,
                           const std::string& pointer ) {
   Seen ids;
   forEach( node, "busses", pointer, [ & ]( const Value& child, const auto& place ) {
      members( child, "bus", place );
      bool isNew = unique( ids, child, "id", place );
      inRange( child, 0, 127, "the number of a bus travels in 7 bits", place );
      label( child, place );
      adapter.bus = static_cast< uint32_t >( child[ "id" ].GetInt() );
      adapter.pointer = place;
      auto [ index, isFirst ] = builder_.busAt( adapter, labelOf( child ) );
      if ( isNew && !isFirst ) {
         warnOfTwin( index, place );
      }
      bus( child, index, place );
   } );
}

void TopologyWalk::bus( const Value& node, size_t index, const std::string& pointer ) {
   devices( node, index, pointer );
   forEach( node, "muxes", pointer,
            [ & ]( const Value& child, const auto& place ) { mux( child, index, place ); } );
}

void TopologyWalk::devices( const Value& node, size_t bus, const std::string& pointer ) {
   forEach( node, "devices", pointer,
            [ & ]( const Value& child, const auto& place ) { device( child, bus, place ); } );
}

void TopologyWalk::device( const Value& node, size_t bus, const std::string& pointer ) {
   uint32_t did = node[ "did" ].GetUint();
   bool isDeclared = node.HasMember( "driver" );
   if ( unique( dids_, node, "did", pointer ) ) {
      wiring_.devices[ did ] = { .bus = bus,
                                 .address = {},
                                 .driver = isDeclared ? driverOf( node ) : "",
                                 .label = labelOf( node ),
                                 .pointer = pointer,
                                 .isDeclared = isDeclared,
                                 .addressPlace = {} };
   }
   label( node, pointer );
   if ( node.HasMember( "label" ) ) {
      wiring_.labels[ labelOf( node ) ] = did;
   }
   if ( isDeclared ) {
      checkDeviceArguments( node, { file_, pointer }, findings_ );
      drivers_.declared( node, { file_, pointer } );
      if ( auto address = addressOf( node ) ) {
         addresses_.give( did, *address, { file_, pointer } );
      }
   } else {
      members( node, "device", pointer );
   }
   forEach( node, "components", pointer, [ & ]( const Value& child, const auto& place ) {
      members( child, "component", place );
      unique( wiring_.components, child, "uid", place );
      label( child, place );
   } );
}

// The busses of a mux are its channels.
void TopologyWalk::mux( const Value& node, size_t above, const std::string& pointer ) {
   uint32_t chip = node[ "did" ].GetUint();
   members( node, "mux", pointer );
   label( node, pointer );
   muxes_.emplace_back( chip, pointer );
   if ( node.HasMember( "verify" ) && node[ "verify" ].GetBool() ) {
      wiring_.verifiedMuxes.insert( chip );
   }
   Seen ids;
   forEach( node, "busses", pointer, [ & ]( const Value& child, const auto& place ) {
      members( child, "bus", place );
      unique( ids, child, "id", place );
      inRange( child, 1, 255, "it is the byte that opens the channel", place );
      warnOfSeveralChannels( child, place );
      label( child, place );
      bus( child,
           builder_.busBehind( { .adapter = wiring_.busses[ above ].adapter,
                                 .above = above,
                                 .mux = chip,
                                 .channel = static_cast< uint32_t >( child[ "id" ].GetInt() ),
                                 .label = labelOf( child ),
                                 .pointer = place } ),
           place );
   } );
}

// All muxes have a bit for each channel.
void TopologyWalk::warnOfSeveralChannels( const Value& bus, const std::string& pointer ) {
   auto id = static_cast< unsigned >( bus[ "id" ].GetInt() );
   if ( id <= UINT8_MAX && std::popcount( id ) > 1 ) {
      findings_.push_back(
         { file_, pointer + "/id",
           fmt::format( "opens {} channels at once: each bit is one", std::popcount( id ) ),
           true } );
   }
}

void TopologyWalk::warnOfTwin( size_t bus, const std::string& pointer ) {
   findings_.push_back(
      { file_, pointer, "requests cannot tell it from " + wiring_.busses[ bus ].pointer, true } );
}

void TopologyWalk::label( const Value& node, const std::string& pointer ) {
   if ( !node.HasMember( "label" ) ) {
      return;
   }
   auto [ it, isNew ] = labels_.insert( { labelOf( node ), pointer } );
   if ( !isNew ) {
      report( pointer + "/label",
              fmt::format( "\"{}\" is already the label of {}", it->first, it->second ) );
   }
}

template < typename Number >
bool TopologyWalk::unique( std::map< Number, std::string >& seen,
                           const Value& node,
                           const char* key,
                           const std::string& pointer ) {
   auto [ it, isNew ] = seen.insert( { static_cast< Number >( node[ key ].GetInt64() ), pointer } );
   if ( !isNew ) {
      report( fmt::format( "{}/{}", pointer, key ),
              fmt::format( "{} is already the {} of {}", it->first, key, it->second ) );
   }
   return isNew;
}

void TopologyWalk::inRange(
   const Value& node, int low, int high, const char* why, const std::string& pointer ) {
   int id = node[ "id" ].GetInt();
   if ( id < low || id > high ) {
      report( pointer + "/id", fmt::format( "must be {} to {}: {}", low, high, why ) );
   }
}

void TopologyWalk::checkMuxes() {
   std::set< uint32_t > behindThemselves = muxesBehindThemselves( wiring_ );
   for ( const auto& [ did, pointer ] : muxes_ ) {
      auto chip = wiring_.devices.find( did );
      std::string problem;
      if ( chip == wiring_.devices.end() ) {
         problem = "is no device of the topology";
      } else if ( !chip->second.isDeclared ) {
         problem =
            fmt::format( "is not declared inline: {} has no \"driver\"", chip->second.pointer );
      } else if ( behindThemselves.contains( did ) ) {
         problem = "is reached through itself";
      } else {
         drivers_.mux( did, chip->second.driver, { file_, pointer } );
         continue;
      }
      report( pointer + "/did", fmt::format( "mux chip {} {}", did, problem ) );
   }
}

}  // namespace

void checkTopology( const BoardFile& topology, const Checks& checks ) {
   TopologyWalk walk( topology.path, checks );
   walk.walk( topology.json );
   walk.checkMuxes();
}

}  // namespace BoardFiles
