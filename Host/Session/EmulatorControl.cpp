#include "Host/Session/EmulatorControl.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <stdexcept>

#include "BoardFiles/Documents.h"
#include "Host/Session/ChipName.h"
#include "Host/Session/ParseNumber.h"
#include "Host/Session/RawEndpoint.h"
#include "Host/Session/WireNames.h"
#include "Utils/Nearest.h"
#include "Utils/Text.h"

namespace Host {

using Utils::Json::Value;

namespace {

std::string unknownName( const Board& board, const std::string& name ) {
   std::vector< std::string > names;
   std::ranges::transform( board.objects, std::back_inserter( names ), &ObjectSpec::name );
   for ( const auto& [ label, did ] : board.wiring.labels ) {
      names.push_back( label );
   }
   std::string nearest = Utils::didYouMean( name, names );
   return fmt::format( "the board has no object, device or device id \"{}\"{}", name,
                       nearest.empty() ? "; \"emu list\" shows those with a chip" : nearest );
}

}  // namespace

std::string quoted( const std::string& text ) {
   std::string printable = Utils::printable( text );
   return Utils::Json::write( Value( rapidjson::StringRef( printable.c_str() ) ) );
}

EmulatorControl::EmulatorControl( const Board& board, const std::string& path )
    : board_( board ), path_( path ), service_( path ) {
   for ( const ObjectSpec& object : board.objects ) {
      auto did = object.kind == Kind::System ? std::nullopt : deviceIdOf( board.wiring, object );
      if ( did ) {
         objects_[ *did ].push_back( object.name );
      }
   }
   try {
      auto present = chips();
      compare( present );
      std::ranges::transform( present, std::back_inserter( dids_ ), &EmulatedChip::did );
   } catch ( const Refusal& refusal ) {
      throw UseError( fmt::format( "the service at {}: {}", path, refusal.what() ) );
   }
}

// A chip that the topology puts elsewhere, or does not have, is another board's.
void EmulatorControl::compare( const std::vector< EmulatedChip >& chips ) const {
   for ( const EmulatedChip& chip : chips ) {
      auto device = board_.wiring.devices.find( chip.did );
      if ( device == board_.wiring.devices.end() || device->second.address != chip.address ) {
         throw UseError( fmt::format(
            "the service at {} emulates another board than {}: its {} with device id {} is at "
            "0x{:02x}, where this board has {}",
            path_, board_.directory, chip.model, chip.did, chip.address,
            device == board_.wiring.devices.end() || !device->second.address
               ? "none"
               : fmt::format( "one at 0x{:02x}", *device->second.address ) ) );
      }
   }
}

std::vector< EmulatedChip > EmulatorControl::chips() {
   Utils::Json::Document answer = ask( R"({"op":"list"})" );
   std::vector< EmulatedChip > chips;
   if ( !answer.HasMember( "chips" ) ) {
      throw UseError( fmt::format( "the service at {} lists no chips", path_ ) );
   }
   for ( const Value& chip : answer[ "chips" ].GetArray() ) {
      chips.push_back( named( chip ) );
   }
   return chips;
}

EmulatedChip EmulatorControl::named( const Value& json ) const {
   EmulatedChip chip{ .did = json[ "did" ].GetUint(),
                      .address = static_cast< uint8_t >( json[ "address" ].GetUint() ),
                      .model = json[ "model" ].GetString(),
                      .isPlugged = json[ "plugged" ].GetBool(),
                      .faults = json[ "faults" ].GetUint(),
                      .quantities = {},
                      .label = {},
                      .place = {},
                      .objects = {} };
   for ( const auto& quantity : json[ "quantities" ].GetObject() ) {
      chip.quantities.emplace_back( quantity.name.GetString(), quantity.value.GetDouble() );
   }
   auto device = board_.wiring.devices.find( chip.did );
   if ( device != board_.wiring.devices.end() && device->second.bus != Wiring::kNone ) {
      chip.label = device->second.label;
      chip.place = WireNames( board_.wiring ).pathOf( device->second.bus );
   }
   if ( auto objects = objects_.find( chip.did ); objects != objects_.end() ) {
      chip.objects = objects->second;
   }
   return chip;
}

uint32_t EmulatorControl::find( const std::string& name ) const {
   uint32_t did = deviceCalled( name );
   if ( std::ranges::find( dids_, did ) == dids_.end() ) {
      throw UseError(
         fmt::format( "the service at {} emulates no chip \"{}\" (device id {}): {}/emulation.json "
                      "does not have "
                      "it, or the service emulates another board",
                      path_, name, did, board_.directory ) );
   }
   return did;
}

uint32_t EmulatorControl::deviceCalled( const std::string& name ) const {
   auto object = std::ranges::find( board_.objects, name, &ObjectSpec::name );
   if ( object != board_.objects.end() ) {
      auto did = object->kind == Kind::System ? std::nullopt : deviceIdOf( board_.wiring, *object );
      if ( !did ) {
         throw UseError(
            fmt::format( "\"{}\" is a {}, which has no chip", name, kindName( object->kind ) ) );
      }
      return *did;
   }
   auto labels = labelsFor( board_.wiring, name );
   if ( labels.size() > 1 ) {
      throw UseError(
         fmt::format( "\"{}\" has several devices: {}", name, fmt::join( labels, ", " ) ) );
   }
   if ( !labels.empty() ) {
      return board_.wiring.labels.at( labels[ 0 ] );
   }
   auto did = parseNumber< uint32_t >( name, 0, UINT32_MAX );
   if ( !did || !board_.wiring.devices.contains( *did ) ) {
      throw UseError( unknownName( board_, name ) );
   }
   return *did;
}

Utils::Json::Document EmulatorControl::ask( const std::string& request ) {
   std::vector< Finding > findings;
   BoardFile answer = readControlAnswer( service_.ask( request ), findings );
   if ( !answer.sound ) {
      throw std::runtime_error( fmt::format(
         "the service at {} does not answer as lumen-smbusd: {}", path_, findings[ 0 ].text() ) );
   }
   if ( !answer.json[ "ok" ].GetBool() ) {
      throw Refusal( answer.json[ "error" ].GetString() );
   }
   return std::move( answer.json );
}

}  // namespace Host
