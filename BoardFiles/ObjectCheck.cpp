#include <fmt/format.h>

#include <set>

#include "BoardFiles/Check.h"
#include "BoardFiles/DeviceArguments.h"

namespace BoardFiles {

namespace {

using Utils::Json::Value;

constexpr uint32_t kNoUid = 0xFFFFFFFF;  // stands for no component

class ObjectCheck {
 public:
   ObjectCheck( const std::string& file,
                TopologyIndex& topology,
                Wires& wires,
                std::vector< Finding >& findings )
       : file_( file ), topology_( topology ), wires_( wires ), findings_( findings ) {}

   void check( const Value& object, const std::string& pointer );

 private:
   void checkEndpoint( const Value& object, const std::string& pointer );
   void checkLabel( const Value& object, const std::string& pointer );
   void checkDevice( const Value& device, const std::string& pointer );
   void report( const std::string& pointer, const std::string& problem ) {
      findings_.push_back( { file_, pointer, problem } );
   }

   const std::string& file_;
   TopologyIndex& topology_;
   Wires& wires_;
   std::vector< Finding >& findings_;
   std::map< std::string, std::string > names_;
};

void ObjectCheck::check( const Value& object, const std::string& pointer ) {
   std::string name = object[ "name" ].GetString();
   auto [ it, isNew ] = names_.insert( { name, pointer } );
   if ( !isNew ) {
      report( pointer + "/name",
              fmt::format( "\"{}\" is already the name of {}", name, it->second ) );
   }
   if ( object.HasMember( "alert" ) &&
        object[ "alert" ].GetDouble() > object[ "critical" ].GetDouble() ) {
      report( pointer + "/alert", "must not be above \"critical\"" );
   }
   std::string_view kind = object[ "kind" ].GetString();
   if ( kind == "smbus" ) {
      checkEndpoint( object, pointer );
   }
   if ( kind != "system" && object.HasMember( "device" ) ) {
      checkDevice( object[ "device" ], pointer + "/device" );
   }
}

void ObjectCheck::checkEndpoint( const Value& object, const std::string& pointer ) {
   bool device = object.HasMember( "device" );
   bool label = object.HasMember( "label" );
   bool address = object.HasMember( "address" );
   if ( device ? label || address : !label || !address ) {
      report( pointer, "needs either \"device\", or \"label\" and \"address\"" );
   } else if ( label ) {
      checkLabel( object, pointer );
   }
}

void ObjectCheck::checkLabel( const Value& object, const std::string& pointer ) {
   std::string label =
      fmt::format( "{}<0x{:02x}>", object[ "label" ].GetString(), object[ "address" ].GetUint() );
   auto it = topology_.labels.find( label );
   if ( it == topology_.labels.end() ) {
      report( pointer + "/label",
              fmt::format( "no device of the topology has the label \"{}\"", label ) );
      return;
   }
   const TopologyIndex::Device& device = topology_.devices.at( it->second );
   if ( !device.declared ) {
      report( pointer + "/label", fmt::format( "device \"{}\" is not declared inline: {} has no "
                                               "\"driver\"",
                                               label, device.pointer ) );
   }
}

void ObjectCheck::checkDevice( const Value& device, const std::string& pointer ) {
   checkDriverArguments( device, pointer, file_, findings_ );
   auto address = addressOf( device );
   if ( !address ) {
      return;
   }
   uint32_t uid = device.HasMember( "uid" ) ? device[ "uid" ].GetUint() : kNoUid;
   uint32_t did = device[ "did" ].GetUint();
   if ( uid != kNoUid && !topology_.components.contains( uid ) ) {
      report( pointer + "/uid", fmt::format( "component {} is not in the topology", uid ) );
   }
   auto place = topology_.devices.find( did );
   if ( place != topology_.devices.end() ) {
      place->second.addressed = true;
      wires_.addDevice( place->second.wire, did, *address, { file_, pointer } );
   } else if ( uid == kNoUid ) {
      report( pointer + "/did", fmt::format( "device {} is not in the topology", did ) );
   }
}

}  // namespace

void checkObjects( const BoardFile& objects,
                   TopologyIndex& topology,
                   Wires& wires,
                   std::vector< Finding >& findings ) {
   ObjectCheck check( objects.path, topology, wires, findings );
   size_t position = 0;
   for ( const Value& object : objects.json[ "objects" ].GetArray() ) {
      check.check( object, fmt::format( "/objects/{}", position++ ) );
   }
}

void checkEmulation( const BoardFile& emulation,
                     const TopologyIndex& topology,
                     std::vector< Finding >& findings ) {
   std::map< uint32_t, std::string > seen;
   size_t position = 0;
   for ( const Value& chip : emulation.json[ "chips" ].GetArray() ) {
      std::string pointer = fmt::format( "/chips/{}", position++ );
      uint32_t did = chip[ "did" ].GetUint();
      auto [ it, isNew ] = seen.insert( { did, pointer } );
      if ( !isNew ) {
         findings.push_back( { emulation.path, pointer + "/did",
                               fmt::format( "{} is already the did of {}", did, it->second ) } );
      }
      auto device = topology.devices.find( did );
      if ( device == topology.devices.end() ) {
         findings.push_back( { emulation.path, pointer + "/did",
                               fmt::format( "device {} is not in the topology", did ) } );
      } else if ( !device->second.addressed ) {
         findings.push_back(
            { emulation.path, pointer + "/did",
              fmt::format( "nobody gives device {} an address: {} has no \"driver\"", did,
                           device->second.pointer ) } );
      }
   }
}

}  // namespace BoardFiles
