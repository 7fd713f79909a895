#include <new>
#include <type_traits>
#include <utility>

#include "Drivers/Drivers.h"
#include "Topology/Topology.h"
#include "Utils/Assert.h"
#include "Utils/Lasting.h"

namespace Topology {

namespace {

void setParent( Node& child, const Node* parent ) {
   child.parent = parent;
}

// Replaced trees and buses are not freed: objects and labels may point into them.
void keepAlive( std::shared_ptr< const Node > node ) {
   static auto& nodes = *new std::vector< std::shared_ptr< const Node > >;
   if ( node ) {
      nodes.push_back( std::move( node ) );
   }
}

// Calls `add` with every element of an array, each of which must be an object; the array may be
// null.
template < typename Add >
void forEachObject( const Value* array, Add add ) {
   if ( !array ) {
      return;
   }
   LUMEN_ASSERT_TEXT( array->IsArray(), "array.IsArray()" );
   for ( auto it = array->Begin(); it != array->End(); ++it ) {
      LUMEN_ASSERT( it->IsObject() );
      add( *it );
   }
}

// The same with the optional member of that name.
template < Utils::Json::Name kName, typename Add >
void forEachObject( const Value& json, Add add ) {
   auto [ array ] = Utils::Json::members< kName >( json );
   forEachObject( array, add );
}

void readDevices( std::vector< std::shared_ptr< Device > >& devices,
                  const Node* parent,
                  const Value& json ) {
   forEachObject< "devices" >( json, [ & ]( const Value& object ) {
      devices.push_back( Device::fromJSON( object ) );
      devices.back()->parent = parent;
   } );
}

}  // namespace

std::shared_ptr< Component > Component::fromJSON( const Value& json ) {
   LUMEN_ASSERT( json.IsObject() );
   LUMEN_ASSERT( json.HasMember( "uid" ) );
   auto component = Utils::makeLasting< Component >();
   init( component, json );
   component->uid = json[ "uid" ].GetUint();
   return component;
}

std::shared_ptr< Device > Device::fromJSON( const Value& json ) {
   LUMEN_ASSERT( json.IsObject() );
   auto [ did, driver, parts ] = Utils::Json::members< "did", "driver", "components" >( json );
   LUMEN_ASSERT_TEXT( did, "json.HasMember( \"did\" )" );
   auto device = Utils::makeLasting< Device >();
   init( device, json );
   device->did = did->GetUint();
   if ( driver ) {
      device->args = Drivers::DriverArgs::fromJSON( json );
   }
   forEachObject( parts, [ & ]( const Value& object ) {
      device->components.push_back( Component::fromJSON( object ) );
      device->components.back()->parent = device.get();
   } );
   return device;
}

std::shared_ptr< Bus > Bus::fromJSON( const Value& json ) {
   LUMEN_ASSERT( json.IsObject() );
   auto bus = Utils::makeLasting< Bus >();
   init( bus, json );
   return bus;
}

void Bus::init( const std::shared_ptr< Bus >& bus, const Value& json ) {
   LUMEN_ASSERT( json.HasMember( "id" ) );
   Node::init( bus, json );
   bus->id = static_cast< uint32_t >( json[ "id" ].GetInt() );
   readDevices( bus->devices, bus.get(), json );
   forEachObject< "muxes" >( json, [ & ]( const Value& object ) {
      bus->muxes.push_back( Mux::fromJSON( object ) );
      bus->muxes.back()->parent = bus.get();
   } );
}

std::shared_ptr< Mux > Mux::fromJSON( const Value& json ) {
   LUMEN_ASSERT( json.IsObject() );
   LUMEN_ASSERT( json.HasMember( "did" ) );
   auto mux = Utils::makeLasting< Mux >();
   init( mux, json );
   mux->did = json[ "did" ].GetUint();
   forEachObject< "busses" >( json, [ & ]( const Value& object ) {
      auto bus = Bus::fromJSON( object );
      bus->parent = mux.get();
      std::shared_ptr< Bus >& channel = mux->busses[ bus->id ];
      keepAlive( std::move( channel ) );
      channel = std::move( bus );
   } );
   return mux;
}

std::shared_ptr< Accelerator > Accelerator::fromJSON( const Value& json ) {
   LUMEN_ASSERT( json.IsObject() );
   LUMEN_ASSERT( json.HasMember( "id" ) );
   auto accel = Utils::makeLasting< Accelerator >();
   init( accel, json );
   accel->id = json[ "id" ].GetUint();
   if ( json.HasMember( "busses" ) ) {
      const Value& busses = json[ "busses" ];
      LUMEN_ASSERT( busses.IsArray() );
   }
   forEachObject< "busses" >( json, [ & ]( const Value& object ) {
      auto bus = Bus::fromJSON( object );
      LUMEN_ASSERT( accel->busses.find( bus->id ) == accel->busses.end() );
      bus->parent = accel.get();
      accel->busses[ bus->id ] = bus;
   } );
   return accel;
}

std::shared_ptr< SCD > SCD::fromJSON( const Value& json ) {
   LUMEN_ASSERT( json.IsObject() );
   LUMEN_ASSERT( json.HasMember( "pci" ) );
   auto scd = Utils::makeLasting< SCD >();
   init( scd, json );
   scd->pci = json[ "pci" ].GetUint();
   forEachObject< "accelerators" >( json, [ & ]( const Value& object ) {
      auto accel = Accelerator::fromJSON( object );
      LUMEN_ASSERT( scd->accelerators.find( accel->id ) == scd->accelerators.end() );
      accel->parent = scd.get();
      scd->accelerators[ accel->id ] = accel;
   } );
   return scd;
}

std::shared_ptr< Celestica > Celestica::fromJSON( const Value& json ) {
   LUMEN_ASSERT( json.IsObject() );
   auto cel = Utils::makeLasting< Celestica >();
   init( cel, json );
   forEachObject< "accelerators" >( json, [ & ]( const Value& object ) {
      auto accel = Accelerator::fromJSON( object );
      LUMEN_ASSERT( cel->accelerators.find( accel->id ) == cel->accelerators.end() );
      accel->parent = cel.get();
      cel->accelerators[ accel->id ] = accel;
   } );
   return cel;
}

std::shared_ptr< FbDomFpga > FbDomFpga::fromJSON( const Value& json ) {
   LUMEN_ASSERT( json.IsObject() );
   LUMEN_ASSERT( json.HasMember( "pci" ) );
   auto fbdomfpga = Utils::makeLasting< FbDomFpga >();
   init( fbdomfpga, json );
   fbdomfpga->pci = json[ "pci" ].GetUint();
   forEachObject< "busses" >( json, [ & ]( const Value& object ) {
      auto bus = Bus::fromJSON( object );
      LUMEN_ASSERT( fbdomfpga->busses.find( bus->id ) == fbdomfpga->busses.end() );
      bus->parent = fbdomfpga.get();
      fbdomfpga->busses[ bus->id ] = bus;
   } );
   return fbdomfpga;
}

std::shared_ptr< LinuxFs > LinuxFs::fromJSON( const Value& json ) {
   LUMEN_ASSERT( json.IsObject() );
   auto linuxFs = Utils::makeLasting< LinuxFs >();
   init( linuxFs, json );
   readDevices( linuxFs->devices, linuxFs.get(), json );
   return linuxFs;
}

std::shared_ptr< I2C > I2C::fromJSON( const Value& json ) {
   LUMEN_ASSERT( json.IsObject() );
   auto i2c = Utils::makeLasting< I2C >();
   if ( json.HasMember( "simulated" ) ) {
      i2c->simulated = json[ "simulated" ].GetBool();
   }
   Bus::init( i2c, json );
   return i2c;
}

std::shared_ptr< IOPort > IOPort::fromJSON( const Value& json ) {
   LUMEN_ASSERT( json.IsObject() );
   auto ioPort = Utils::makeLasting< IOPort >();
   Bus::init( ioPort, json );
   return ioPort;
}

std::shared_ptr< PLM > PLM::fromJSON( const Value& json ) {
   LUMEN_ASSERT( json.IsObject() );
   auto plm = Utils::makeLasting< PLM >();
   Bus::init( plm, json );
   return plm;
}

std::shared_ptr< SccSpi > SccSpi::fromJSON( const Value& json ) {
   LUMEN_ASSERT( json.IsObject() );
   auto sccSpi = Utils::makeLasting< SccSpi >();
   Bus::init( sccSpi, json );
   return sccSpi;
}

namespace {

// A medium that is also a bus has two places for the link to its parent.
template < typename Medium >
std::shared_ptr< MediumNode > readMedium( const Value& json, const Node* root ) {
   std::shared_ptr< Medium > medium = Medium::fromJSON( json );
   setParent( static_cast< MediumNode& >( *medium ), root );
   if constexpr ( std::is_base_of_v< Bus, Medium > ) {
      setParent( static_cast< Bus& >( *medium ), root );
   }
   return medium;
}

struct MediumType {
   std::string_view name;
   std::shared_ptr< MediumNode > ( *read )( const Value&, const Node* );
};

constexpr MediumType kMediumTypes[] = {
   { "SCD", readMedium< SCD > },         { "I2C", readMedium< I2C > },
   { "IOPort", readMedium< IOPort > },   { "Celestica", readMedium< Celestica > },
   { "PLM", readMedium< PLM > },         { "SccSpi", readMedium< SccSpi > },
   { "LinuxFs", readMedium< LinuxFs > }, { "FbDomFpga", readMedium< FbDomFpga > },
};

std::shared_ptr< MediumNode > readMediumOfType( std::string_view type,
                                                const Value& json,
                                                const Node* root ) {
   for ( const MediumType& row : kMediumTypes ) {
      if ( row.name == type ) {
         return row.read( json, root );
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
   topology->buildIndex();
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

void fillAddressFromJSON( const Value& value, HamAddress& addr ) {
   LUMEN_ASSERT( value.IsObject() );
   auto [ address, writeDelay, readDelay, busTimeout, extraDelay, addrSize, accel, noStop ] =
      Utils::Json::members< "address", "writeDelay", "readDelay", "busTimeout", "extraDelay",
                            "addrSize", "accel", "writeNoStopReadCurrent" >( value );
   LUMEN_ASSERT_TEXT( address, "value.HasMember( \"address\" )" );
   uint32_t command = addr.command;
   addr = HamAddress{ .command = command, .addrSize = 1 };
   addr.address = address->GetUint();
   if ( writeDelay ) {
      addr.writeDelay = writeDelay->GetUint();
   }
   if ( readDelay ) {
      addr.readDelay = readDelay->GetUint();
   }
   if ( busTimeout ) {
      addr.busTimeout = busTimeout->GetUint();
   }
   if ( extraDelay ) {
      addr.extraDelay = extraDelay->GetUint();
   }
   if ( addrSize ) {
      addr.addrSize = addrSize->GetUint();
      // Two bits hold the code, so that a 4 reads back as 0 and is refused as well.
      LUMEN_ASSERT_TEXT( addr.addrSize == 1 || addr.addrSize == 2,
                         "addr.addrSize == 1 || addr.addrSize == 2 || addr.addrSize == 4" );
   }
   if ( accel ) {
      addr.accelerator = accel->GetUint();
   }
   if ( noStop ) {
      addr.writeNoStopReadCurrent = noStop->GetBool();
   }
}

}  // namespace Topology
