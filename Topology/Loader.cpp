#include <new>
#include <type_traits>
#include <utility>

#include "BoardFiles/Media.h"
#include "Drivers/Drivers.h"
#include "Topology/Topology.h"
#include "Utils/Assert.h"
#include "Utils/Lasting.h"

namespace Topology {

namespace {

using Utils::Json::Name;

// Replaced trees and buses are not freed: objects and labels may point into them.
void keepAlive( std::shared_ptr< const Node > node ) {
   static auto& nodes = *new std::vector< std::shared_ptr< const Node > >;
   if ( node ) {
      nodes.push_back( std::move( node ) );
   }
}

// A new node with its label.
template < typename Made >
std::shared_ptr< Made > makeNode( const Value& json ) {
   auto node = Utils::makeLasting< Made >();
   Node::init( node, json );
   return node;
}

// The same with the number that the object has to have.
template < Name kNumber, typename Made >
std::shared_ptr< Made > makeNode( const Value& json, uint32_t Made::*number ) {
   LUMEN_ASSERT( json.IsObject() );
   auto [ value ] = Utils::Json::members< kNumber >( json );
   LUMEN_ASSERT_TEXT( value,
                      ( "json.HasMember( \"" + std::string( kNumber.text ) + "\" )" ).c_str() );
   auto node = makeNode< Made >( json );
   node.get()->*number = value->GetUint();
   return node;
}

// Calls `add` with a node for each object of the array, which may be null.
template < Name kName, typename Child, typename Add >
void forEachChild( const Value* array, const Node* parent, Add add ) {
   if ( !array ) {
      return;
   }
   LUMEN_ASSERT_TEXT( array->IsArray(), ( std::string( kName.text ) + ".IsArray()" ).c_str() );
   for ( auto it = array->Begin(); it != array->End(); ++it ) {
      LUMEN_ASSERT( it->IsObject() );
      auto child = Child::fromJSON( *it );
      child->parent = parent;
      add( std::move( child ) );
   }
}

template < Name kName, typename Child >
void readChildren( const Value* array,
                   const Node* parent,
                   std::vector< std::shared_ptr< Child > >& children ) {
   forEachChild< kName, Child >(
      array, parent, [ & ]( auto child ) { children.push_back( std::move( child ) ); } );
}

// Each id may be there once; `condition` says so.
template < Name kName, typename Child >
void readChildren( const Value& json,
                   const Node* parent,
                   std::map< uint32_t, std::shared_ptr< Child > >& children,
                   const char* condition ) {
   auto [ array ] = Utils::Json::members< kName >( json );
   forEachChild< kName, Child >( array, parent, [ & ]( auto child ) {
      bool isFirst = children.emplace( child->id, child ).second;
      LUMEN_ASSERT_TEXT( isFirst, condition );
   } );
}

}  // namespace

std::shared_ptr< Component > Component::fromJSON( const Value& json ) {
   return makeNode< "uid" >( json, &Component::uid );
}

std::shared_ptr< Device > Device::fromJSON( const Value& json ) {
   LUMEN_ASSERT( json.IsObject() );
   auto [ did, driver, parts ] = Utils::Json::members< "did", "driver", "components" >( json );
   LUMEN_ASSERT_TEXT( did, "json.HasMember( \"did\" )" );
   auto device = makeNode< Device >( json );
   device->did = did->GetUint();
   if ( driver ) {
      device->args = Drivers::DriverArgs::fromJSON( json );
   }
   readChildren< "components" >( parts, device.get(), device->components );
   return device;
}

std::shared_ptr< Bus > Bus::fromJSON( const Value& json ) {
   LUMEN_ASSERT( json.IsObject() );
   auto bus = Utils::makeLasting< Bus >();
   init( bus, json );
   return bus;
}

void Bus::init( const std::shared_ptr< Bus >& bus, const Value& json ) {
   auto [ number, devices, muxes ] = Utils::Json::members< "id", "devices", "muxes" >( json );
   LUMEN_ASSERT_TEXT( number, "json.HasMember( \"id\" )" );
   Node::init( bus, json );
   bus->id = static_cast< uint32_t >( number->GetInt() );
   readChildren< "devices" >( devices, bus.get(), bus->devices );
   readChildren< "muxes" >( muxes, bus.get(), bus->muxes );
}

std::shared_ptr< Mux > Mux::fromJSON( const Value& json ) {
   auto mux = makeNode< "did" >( json, &Mux::did );
   auto [ array ] = Utils::Json::members< "busses" >( json );
   forEachChild< "busses", Bus >( array, mux.get(), [ & ]( auto bus ) {
      std::shared_ptr< Bus >& channel = mux->busses[ bus->id ];
      keepAlive( std::exchange( channel, std::move( bus ) ) );
   } );
   return mux;
}

std::shared_ptr< Accelerator > Accelerator::fromJSON( const Value& json ) {
   auto accel = makeNode< "id" >( json, &Accelerator::id );
   readChildren< "busses" >( json, accel.get(), accel->busses,
                             "accel->busses.find( bus->id ) == accel->busses.end()" );
   return accel;
}

std::shared_ptr< SCD > SCD::fromJSON( const Value& json ) {
   auto scd = makeNode< "pci" >( json, &SCD::pci );
   readChildren< "accelerators" >(
      json, scd.get(), scd->accelerators,
      "scd->accelerators.find( accel->id ) == scd->accelerators.end()" );
   return scd;
}

std::shared_ptr< Celestica > Celestica::fromJSON( const Value& json ) {
   LUMEN_ASSERT( json.IsObject() );
   auto cel = makeNode< Celestica >( json );
   readChildren< "accelerators" >(
      json, cel.get(), cel->accelerators,
      "cel->accelerators.find( accel->id ) == cel->accelerators.end()" );
   return cel;
}

std::shared_ptr< FbDomFpga > FbDomFpga::fromJSON( const Value& json ) {
   auto fbdomfpga = makeNode< "pci" >( json, &FbDomFpga::pci );
   readChildren< "busses" >( json, fbdomfpga.get(), fbdomfpga->busses,
                             "fbdomfpga->busses.find( bus->id ) == fbdomfpga->busses.end()" );
   return fbdomfpga;
}

std::shared_ptr< LinuxFs > LinuxFs::fromJSON( const Value& json ) {
   LUMEN_ASSERT( json.IsObject() );
   auto linuxFs = makeNode< LinuxFs >( json );
   auto [ array ] = Utils::Json::members< "devices" >( json );
   readChildren< "devices" >( array, linuxFs.get(), linuxFs->devices );
   return linuxFs;
}

template < typename Self >
std::shared_ptr< Self > BusMedium< Self >::fromJSON( const Value& json ) {
   LUMEN_ASSERT( json.IsObject() );
   auto medium = Utils::makeLasting< Self >();
   Bus::init( medium, json );
   return medium;
}
template class BusMedium< IOPort >;
template class BusMedium< PLM >;
template class BusMedium< SccSpi >;

std::shared_ptr< I2C > I2C::fromJSON( const Value& json ) {
   auto i2c = BusMedium< I2C >::fromJSON( json );
   auto [ simulated ] = Utils::Json::members< "simulated" >( json );
   i2c->simulated = simulated && simulated->GetBool();
   return i2c;
}

namespace {

// A medium that is also a bus has two places for the link to its parent.
template < typename Medium >
std::shared_ptr< MediumNode > readMedium( const Value& json, const Node* root ) {
   std::shared_ptr< Medium > medium = Medium::fromJSON( json );
   static_cast< MediumNode& >( *medium ).parent = root;
   if constexpr ( std::is_base_of_v< Bus, Medium > ) {
      static_cast< Bus& >( *medium ).parent = root;
   }
   return medium;
}

constexpr struct {
   std::string_view type;
   std::shared_ptr< MediumNode > ( *read )( const Value&, const Node* );
} kReaders[] = {
   { Media::kScd.type, readMedium< SCD > },
   { Media::kI2c.type, readMedium< I2C > },
   { Media::kIoPort.type, readMedium< IOPort > },
   { Media::kCelestica.type, readMedium< Celestica > },
   { Media::kPlm.type, readMedium< PLM > },
   { Media::kSccSpi.type, readMedium< SccSpi > },
   { Media::kLinuxFs.type, readMedium< LinuxFs > },
   { Media::kFbDomFpga.type, readMedium< FbDomFpga > },
};

std::shared_ptr< MediumNode > readMediumOfType( std::string_view type,
                                                const Value& json,
                                                const Node* root ) {
   for ( const auto& [ name, read ] : kReaders ) {
      if ( name == type ) {
         return read( json, root );
      }
   }
   LUMEN_ASSERT( false && "Unknown type" );
   return nullptr;
}

}  // namespace

Topology* Topology::fromJSON( const Value& json ) try {
   LUMEN_ASSERT( json.IsArray() );
   auto topology = std::make_unique< Topology >();
   for ( auto it = json.Begin(); it != json.End(); ++it ) {
      LUMEN_ASSERT( it->IsObject() );
      LUMEN_ASSERT( it->HasMember( "type" ) );
      LUMEN_ASSERT( it->HasMember( "ham" ) );
      auto medium = readMediumOfType( ( *it )[ "type" ].GetString(), *it, topology.get() );
      medium->ham = ( *it )[ "ham" ].GetString();
      topology->mediums.push_back( std::move( medium ) );
   }
   topology->index_.build( *topology );
   return topology.release();
} catch ( const std::bad_alloc& ) {
   return nullptr;
}

pl_status loadTopology( const char* json ) {
   if ( _topology && _topology_json == json ) {
      pl_trace( 2, "topology is the same as the previously loaded one (using it)" );
      return PL_STATUS_OK;
   }
   pl_trace( 2, "loading topology json" );
   Utils::Json::Document document;
   if ( auto error = Utils::Json::parse( json, document ) ) {
      pl_trace( 2, "failed to load topology from json: %s offset %zd", error->message,
                static_cast< ssize_t >( error->offset ) );
      return PL_STATUS_UNSUPPORTED;
   }
   _topology_index.clear();
   Topology* topology = Topology::fromJSON( document );
   if ( !topology ) {
      _topology_index.clear();
      pl_trace( 2, "failed to create topology tree" );
      return PL_STATUS_FAILURE;
   }
   keepAlive( std::shared_ptr< Topology >( topology ) );
   _topology = topology;
   _topology_json = json;
   return PL_STATUS_OK;
}

}  // namespace Topology
