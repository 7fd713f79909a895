#include "Host/Session/RawEndpoint.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>

#include "BoardFiles/DeviceArguments.h"
#include "Host/Session/ChipName.h"
#include "Host/Session/UnknownName.h"
#include "Host/Session/UseError.h"
#include "Utils/Json.h"

namespace Host {

namespace {

using Utils::Json::Document;
using Utils::Json::Value;

constexpr const char* kDriver = "SmbusProxyDriver";

// The device's arguments, with the driver for raw access in place of its own.
RawEndpoint endpointAt( const std::string& name, const Value& device ) {
   auto address = addressOf( device );
   if ( !address ) {
      throw UseError( fmt::format( "\"{}\" is no single chip with registers", name ) );
   }
   Document arguments;
   arguments.CopyFrom( device, arguments.GetAllocator() );
   for ( const char* member : { "driver", "driverArgs" } ) {
      arguments.RemoveMember( member );
   }
   arguments.AddMember( "driver", rapidjson::StringRef( kDriver ), arguments.GetAllocator() );
   return {
      .object = { .kind = Kind::Smbus, .name = name, .device = Utils::Json::write( arguments ) },
      .address = *address };
}

RawEndpoint endpointOf( const ObjectSpec& object, const std::string& name ) {
   Document arguments;
   bool isJson = !Utils::Json::parse( object.device.c_str(), arguments );
   if ( object.kind != Kind::Smbus ) {
      bool isChip = isJson && arguments.IsObject() && arguments.HasMember( "did" );
      if ( !isChip || object.kind == Kind::System ) {
         throw UseError(
            fmt::format( "\"{}\" is a {}, which has no chip", name, kindName( object.kind ) ) );
      }
      return endpointAt( name, arguments );
   }
   return { object, isJson ? addressOf( arguments ).value_or( 0 ) : object.address };
}

// The value at a pointer that the topology's own walk has made.
const Value& valueAt( const Document& topology, const std::string& pointer ) {
   const Value* value = &topology;
   for ( size_t start = 1; start <= pointer.size(); ) {
      size_t end = std::min( pointer.find( '/', start ), pointer.size() );
      std::string token = pointer.substr( start, end - start );
      value = value->IsArray()
                 ? &( *value )[ static_cast< rapidjson::SizeType >( std::stoul( token ) ) ]
                 : &( *value )[ token.c_str() ];
      start = end + 1;
   }
   return *value;
}

RawEndpoint endpointOf( const Board& board, uint32_t did, const std::string& name ) {
   const Wiring::Device& device = board.wiring.devices.at( did );
   if ( device.isDeclared ) {
      Document topology;
      Utils::Json::parse( board.topology.c_str(), topology );
      return endpointAt( name, valueAt( topology, device.pointer ) );
   }
   for ( const ObjectSpec& object : board.objects ) {
      if ( deviceIdOf( board.wiring, object ) == did ) {
         return endpointOf( object, name );
      }
   }
   throw UseError( fmt::format( "no document tells the address of \"{}\"", name ) );
}

}  // namespace

std::vector< std::string > labelsFor( const Wiring& wiring, const std::string& name ) {
   if ( wiring.labels.contains( name ) ) {
      return { name };
   }
   std::vector< std::string > labels;
   for ( const auto& [ label, did ] : wiring.labels ) {
      if ( label.starts_with( name + "<0x" ) ) {
         labels.push_back( label );
      }
   }
   return labels;
}

RawEndpoint RawEndpoint::named( const Board& board, const std::string& name ) {
   auto object = std::ranges::find( board.objects, name, &ObjectSpec::name );
   if ( object != board.objects.end() ) {
      return endpointOf( *object, name );
   }
   auto labels = labelsFor( board.wiring, name );
   if ( labels.size() == 1 ) {
      return endpointOf( board, board.wiring.labels.at( labels[ 0 ] ), name );
   }
   if ( !labels.empty() ) {
      throw UseError(
         fmt::format( "\"{}\" has several devices: {}", name, fmt::join( labels, ", " ) ) );
   }
   for ( const ObjectSpec& each : board.objects ) {
      labels.push_back( each.name );
   }
   for ( const auto& [ label, did ] : board.wiring.labels ) {
      labels.push_back( label );
   }
   throw UseError( fmt::format( "the board has no object or device \"{}\"{}", name,
                                whatThereIs( name, labels, "lumen status" ) ) );
}

}  // namespace Host
