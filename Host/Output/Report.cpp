#include "Host/Output/Report.h"

#include <fmt/format.h>

#include <algorithm>

#include "Host/Output/JsonObject.h"

namespace Host {

namespace {

std::string limitsText( const ObjectSpec& object ) {
   if ( object.range.min && object.range.max ) {
      return fmt::format( "{} - {}", *object.range.min, *object.range.max );
   }
   return object.alert && object.critical
             ? numberText( *object.alert ) + " / " + numberText( *object.critical )
             : "-";
}

TextPlace textPlace( const Observation& observation ) {
   return operations( observation.object->kind ).textPlace;
}

// The reason, or what the object tells at length: lines may break here.
std::string stateText( const Observation& observation ) {
   const std::string& more =
      observation.reason.empty() && textPlace( observation ) == TextPlace::AfterState
         ? observation.text
         : observation.reason;
   std::string state = stateName( observation.state );
   return more.empty() || more == state ? state : state + ": " + more;
}

Cell stateCell( const Observation& observation ) {
   std::string text = stateText( observation );
   switch ( observation.state ) {
      case State::Ok:
         return { text, Colour::Green };
      case State::Alert:
         return { text, Colour::Yellow };
      case State::Absent:
         return { text, Colour::Dim };
      default:
         return { text, Colour::Red };
   }
}

Value observationJson( const Observation& observation, JsonObject::Allocator& allocator ) {
   JsonObject json( allocator );
   json.add( "name", observation.object->name );
   json.add( "kind", kindName( observation.object->kind ) );
   json.add( "reading", observation.reading );
   json.addIfAny( "text", observation.text );
   json.add( "unit", operations( observation.object->kind ).unit );
   json.add( "alert", observation.object->alert );
   json.add( "critical", observation.object->critical );
   json.add( "min", observation.object->range.min );
   json.add( "max", observation.object->range.max );
   json.add( "state", std::string_view( stateName( observation.state ) ) );
   json.addIfAny( "reason", observation.reason );
   return std::move( json.value() );
}

Value findingJson( const Finding& finding, JsonObject::Allocator& allocator ) {
   JsonObject json( allocator );
   json.add( "file", finding.file );
   json.add( "pointer", finding.pointer );
   json.add( "problem", finding.problem );
   json.add( "severity", finding.isWarning ? "warning" : "mistake" );
   return std::move( json.value() );
}

JsonObject document( JsonObject::Allocator& allocator,
                     const std::string& board,
                     const std::vector< Observation >& observations ) {
   JsonObject json( allocator );
   json.add( "board", board );
   json.add( "objects", arrayJson( observations, allocator, observationJson ) );
   return json;
}

std::string readingCellText( const Observation& observation ) {
   if ( observation.reading ) {
      return numberText( *observation.reading );
   }
   bool isShort = textPlace( observation ) == TextPlace::Reading;
   return isShort && !observation.text.empty() ? observation.text : "-";
}

// What follows the decimal point, with the point.
size_t fractionLength( const std::string& number ) {
   return number.size() - std::min( number.find( '.' ), number.size() );
}

// Right-aligned, they have their decimal points in one column.
std::vector< std::string > readingTexts( const std::vector< Observation >& observations ) {
   std::vector< std::string > texts;
   size_t longest = 0;
   for ( const Observation& observation : observations ) {
      texts.push_back( readingCellText( observation ) );
      longest = std::max( longest, fractionLength( texts.back() ) );
   }
   for ( std::string& text : texts ) {
      text.append( longest - fractionLength( text ), ' ' );
   }
   return texts;
}

}  // namespace

std::string statusTable( const std::vector< Observation >& observations, const TableStyle& style ) {
   std::vector< Observation > byKind = observations;
   std::ranges::stable_sort( byKind, {},
                             []( const Observation& each ) { return each.object->kind; } );
   std::vector< std::vector< Cell > > cells;
   std::vector< std::string > readings = readingTexts( byKind );
   for ( size_t i = 0; i < byKind.size(); ++i ) {
      const Observation& observation = byKind[ i ];
      Kind kind = observation.object->kind;
      cells.push_back( { { observation.object->name },
                         { std::string( kindName( kind ) ) },
                         { readings[ i ] },
                         { std::string( operations( kind ).unit ) },
                         { limitsText( *observation.object ) },
                         stateCell( observation ) } );
   }
   return formatTable( { { "object" },
                         { "kind" },
                         { .title = "reading", .rightAligned = true },
                         { "unit" },
                         { .title = "limits", .rightAligned = true },
                         { "state" } },
                       cells, style );
}

std::string valueText( const Observation& observation ) {
   if ( observation.reading ) {
      std::string_view unit = operations( observation.object->kind ).unit;
      return numberText( *observation.reading ) + ( unit.empty() ? "" : " " ) +
             std::string( unit ) + ( observation.text.empty() ? "" : ", " + observation.text );
   }
   if ( !observation.text.empty() ) {
      return observation.text;
   }
   bool isSilent = observation.state == State::Ok && textPlace( observation ) != TextPlace::None;
   return isSilent ? "-" : stateName( observation.state );
}

std::string statusJson( const std::string& board, const std::vector< Observation >& observations ) {
   JsonObject::Allocator allocator;
   JsonObject json = document( allocator, board, observations );
   json.add( "ok", Value( allOk( observations ) ) );
   return json.text();
}

std::string problemText( const Observation& observation ) {
   return observation.reason.empty() ? stateName( observation.state ) : observation.reason;
}

std::string smbusJson( const std::string& board,
                       const std::string& operation,
                       const Observation& endpoint ) {
   bool ok = endpoint.state == State::Ok;
   JsonObject::Allocator allocator;
   JsonObject json( allocator );
   json.add( "board", board );
   json.add( "object", endpoint.object->name );
   json.add( "operation", operation );
   json.add( "answer", endpoint.text );
   if ( !ok ) {
      json.add( "error", problemText( endpoint ) );
   }
   json.add( "ok", Value( ok ) );
   return json.text();
}

std::string findingsJson( const std::string& board, const std::vector< Finding >& findings ) {
   JsonObject::Allocator allocator;
   JsonObject json = document( allocator, board, {} );
   json.add( "findings", arrayJson( findings, allocator, findingJson ) );
   json.add( "ok", Value( findings.empty() ) );
   return json.text();
}

std::string errorJson( const std::string& board, const std::string& error ) {
   JsonObject::Allocator allocator;
   JsonObject json = document( allocator, board, {} );
   json.add( "error", error );
   json.add( "ok", Value( false ) );
   return json.text();
}

}  // namespace Host
