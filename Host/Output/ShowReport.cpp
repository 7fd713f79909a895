#include "Host/Output/ShowReport.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

#include "Host/Output/BusPlace.h"
#include "Host/Output/JsonDocument.h"
#include "Host/Output/Report.h"
#include "Host/Session/ChipName.h"
#include "Utils/Text.h"

namespace Host {

namespace {

constexpr size_t kIndent = 6;  // of lines below their label

using Rows = std::vector< std::pair< std::string, std::string > >;  // label and value

// Empty of a fact that is all right.
std::string whyMissing( const Board& board, const ObjectSpec& object, const Fact& fact ) {
   const Reading& reading = fact.reading;
   if ( reading.status == PL_STATUS_OK ) {
      return {};
   }
   std::string request = fact.failure ? fact.failure->explain( board, object ) : "";
   return !reading.text.empty()
             ? reading.text
             : whyNotOk( reading.status, request, operations( object.kind ).deviceError );
}

const Wiring::Device* deviceOf( const Wiring& wiring, const std::optional< uint32_t >& did ) {
   auto device = did ? wiring.devices.find( *did ) : wiring.devices.end();
   return device == wiring.devices.end() ? nullptr : &device->second;
}

std::string chipText( const Wiring::Device* device, uint32_t did ) {
   if ( !device ) {
      return fmt::format( "device {}", did );
   }
   std::string name = device->driver.empty() ? "device" : device->driver;
   std::string address = device->address ? fmt::format( " at 0x{:02x}", *device->address ) : "";
   return fmt::format( "{}{}, did {}", name, address, did );
}

void addPlace( const Board& board, const ObjectSpec& object, Rows& rows ) {
   auto did = deviceIdOf( board.wiring, object );
   if ( !did ) {
      return;
   }
   const Wiring::Device* device = deviceOf( board.wiring, did );
   rows.emplace_back( "chip", chipText( device, *did ) );
   if ( device && !device->label.empty() ) {
      rows.emplace_back( "label", device->label );
   }
   if ( device && device->bus != Wiring::kNone ) {
      rows.emplace_back( "bus", busTitle( board.wiring, device->bus ) );
   }
}

void addLimits( const ObjectSpec& object, Rows& rows ) {
   auto add = [ & ]( const char* label, const auto& limit, std::string_view unit ) {
      if ( limit ) {
         rows.emplace_back(
            label, numberText( *limit ) + ( unit.empty() ? "" : " " ) + std::string( unit ) );
      }
   };
   std::string_view unit = operations( object.kind ).unit;
   add( "low", object.low, unit );
   add( "alert", object.alert, unit );
   add( "critical", object.critical, unit );
   add( "hysteresis", object.hysteresis, unit );
   add( "lowest speed", object.range.min, unit );
   add( "highest speed", object.range.max, unit );
   add( "expected", object.expected, unit );
}

std::string factText( const Board& board, const ObjectSpec& object, const Fact& fact ) {
   if ( std::string why = whyMissing( board, object, fact ); !why.empty() ) {
      return fact.reading.status == PL_STATUS_ABSENT ? "absent" : "failed: " + why;
   }
   return fact.reading.value
             ? numberText( *fact.reading.value ) + ( fact.unit.empty() ? "" : " " ) + fact.unit
             : fact.reading.text;
}

// Several lines stand below the label.
std::string rowText( const std::string& label, const std::string& value, size_t width ) {
   if ( value.find( '\n' ) == std::string::npos ) {
      return fmt::format( "   {:{}}  {}\n", label + ":", width + 1, Utils::printable( value ) );
   }
   std::string text = "   " + label + ":\n";
   std::string_view rest = value;
   while ( !rest.empty() ) {
      size_t end = std::min( rest.find( '\n' ), rest.size() );
      text += std::string( kIndent, ' ' ) + Utils::printable( rest.substr( 0, end ) ) + "\n";
      rest.remove_prefix( std::min( end + 1, rest.size() ) );
   }
   return text;
}

Value factJson( const Board& board,
                const ObjectSpec& object,
                const Fact& fact,
                JsonObject::Allocator& allocator ) {
   std::string why = whyMissing( board, object, fact );
   JsonObject json( allocator );
   json.add( "name", fact.label );
   json.add( "value", fact.reading.value );
   json.add( "unit", fact.unit );
   if ( why.empty() && !fact.reading.text.empty() ) {
      json.addLines( "text", fact.reading.text );
   } else {
      json.add( "text", Value() );
   }
   json.addIfAny( "problem", why );
   return std::move( json.value() );
}

Value deviceJson( const Wiring& wiring, uint32_t did, JsonObject::Allocator& allocator ) {
   const Wiring::Device* device = deviceOf( wiring, did );
   JsonObject json( allocator );
   json.add( "did", Value( did ) );
   json.addIfAny( "label", device ? device->label : "" );
   json.addIfAny( "driver", device ? device->driver : "" );
   json.add( "address", device && device->address ? Value( *device->address ) : Value() );
   if ( device && device->bus != Wiring::kNone ) {
      JsonObject bus( allocator );
      addBus( bus, wiring, device->bus, allocator );
      json.add( "bus", std::move( bus.value() ) );
   } else {
      json.add( "bus", Value() );
   }
   return std::move( json.value() );
}

Value objectJson( const Board& board, const ShownObject& shown, JsonObject::Allocator& allocator ) {
   const ObjectSpec& object = *shown.observation.object;
   auto did = deviceIdOf( board.wiring, object );
   JsonObject json = observationJson( shown.observation, allocator );
   json.add( "facts", arrayJson( shown.facts, allocator, [ & ]( const Fact& fact, auto& memory ) {
                return factJson( board, object, fact, memory );
             } ) );
   json.add( "device", did ? deviceJson( board.wiring, *did, allocator ) : Value() );
   return std::move( json.value() );
}

}  // namespace

ShownObject shownObject( const Board& board, const Observation& observation ) {
   std::vector< Fact > facts = factsIn( observation.text );
   if ( observation.state != State::Ok || facts.empty() ) {
      return { observation, {} };
   }
   const ObjectSpec& object = *observation.object;
   Observation own =
      observed( object, facts[ 0 ].reading, whyMissing( board, object, facts[ 0 ] ) );
   if ( !facts[ 0 ].reading.value ) {
      facts.erase( facts.begin() );  // the state tells it
   }
   return { own, std::move( facts ) };
}

bool isWell( const ShownObject& object ) {
   return object.observation.state == State::Ok &&
          std::ranges::all_of(
             object.facts, []( const Fact& fact ) { return fact.reading.status == PL_STATUS_OK; } );
}

std::string showText( const Board& board, const ShownObject& shown ) {
   const ObjectSpec& object = *shown.observation.object;
   Rows rows = { { "kind", std::string( kindName( object.kind ) ) },
                 { "state", stateText( shown.observation ) } };
   for ( const Fact& fact : shown.facts ) {
      std::string text = factText( board, object, fact );
      if ( !text.empty() ) {
         rows.emplace_back( fact.label, text );
      }
   }
   addLimits( object, rows );
   addPlace( board, object, rows );
   size_t width = 0;
   for ( const auto& [ label, value ] : rows ) {
      width = std::max( width, label.size() );
   }
   std::string text = Utils::printable( object.name ) + "\n";
   for ( const auto& [ label, value ] : rows ) {
      text += rowText( label, value, width );
   }
   return text;
}

std::string showJson( const Board& board, const std::vector< ShownObject >& objects ) {
   JsonObject::Allocator allocator;
   JsonObject json = beginDocument( board.directory, allocator );
   json.add( "objects",
             arrayJson( objects, allocator, [ & ]( const ShownObject& object, auto& memory ) {
                return objectJson( board, object, memory );
             } ) );
   json.add( "ok", Value( std::ranges::all_of( objects, isWell ) ) );
   return json.text();
}

}  // namespace Host
