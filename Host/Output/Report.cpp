#include "Host/Output/Report.h"

#include <fmt/format.h>

#include <algorithm>

#include "Host/Output/JsonDocument.h"

namespace Host {

namespace {

TextPlace textPlace( const Observation& observation ) {
   return operations( observation.object->kind ).textPlace;
}

Cell stateCell( const Observation& observation ) {
   return { stateText( observation ), stateColour( observation.state ) };
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
   JsonObject json = beginDocument( board, allocator );
   json.add( "objects",
             arrayJson( observations, allocator, []( const auto& observation, auto& memory ) {
                return std::move( observationJson( observation, memory ).value() );
             } ) );
   return json;
}

JsonObject statusDocument( JsonObject::Allocator& allocator,
                           const std::string& board,
                           const std::vector< Observation >& observations ) {
   JsonObject json = document( allocator, board, observations );
   json.add( "ok", Value( allOk( observations ) ) );
   return json;
}

// Right-aligned, they have their decimal points in one column.
std::vector< std::string > readingTexts( const std::vector< Observation >& observations ) {
   std::vector< std::string > texts;
   size_t longest = 0;
   for ( const Observation& observation : observations ) {
      texts.push_back( readingText( observation ) );
      longest = std::max( longest, fractionLength( texts.back() ) );
   }
   for ( std::string& text : texts ) {
      text.append( longest - fractionLength( text ), ' ' );
   }
   return texts;
}

}  // namespace

std::vector< Observation > inOrder( std::vector< Observation > observations, Order order ) {
   std::ranges::stable_sort( observations, [ order ]( const Observation& a, const Observation& b ) {
      return precedes( a, b, order );
   } );
   return observations;
}

std::string limitsText( const ObjectSpec& object ) {
   const FanRange& range = object.range;
   if ( range.min && range.max ) {
      return fmt::format( "{} - {}", *range.min, *range.max );
   }
   if ( range.min || range.max ) {
      return range.min ? fmt::format( "from {}", *range.min ) : fmt::format( "to {}", *range.max );
   }
   if ( object.expected ) {
      return "= " + numberText( *object.expected );
   }
   std::string low = object.low ? numberText( *object.low ) + " / " : "";
   return object.alert && object.critical
             ? low + numberText( *object.alert ) + " / " + numberText( *object.critical )
             : "-";
}

std::string stateText( const Observation& observation ) {
   const std::string& more =
      observation.reason.empty() && textPlace( observation ) == TextPlace::AfterState
         ? observation.text
         : observation.reason;
   std::string state = stateName( observation.state );
   return more.empty() || more == state ? state : state + ": " + more;
}

Colour stateColour( State state ) {
   switch ( state ) {
      case State::Ok:
         return Colour::Green;
      case State::Alert:
         return Colour::Yellow;
      case State::Absent:
      case State::Pending:
         return Colour::Dim;
      default:
         return Colour::Red;
   }
}

std::string readingText( const Observation& observation ) {
   if ( observation.reading ) {
      return numberText( *observation.reading );
   }
   bool isShort = textPlace( observation ) == TextPlace::Reading;
   return isShort && !observation.text.empty() ? observation.text : "-";
}

size_t fractionLength( const std::string& number ) {
   return number.size() - std::min( number.find( '.' ), number.size() );
}

std::string statusTable( const std::vector< Observation >& observations,
                         const TableStyle& style,
                         Order order ) {
   std::vector< Observation > sorted = inOrder( observations, order );
   std::vector< std::vector< Cell > > cells;
   std::vector< std::string > readings = readingTexts( sorted );
   for ( size_t i = 0; i < sorted.size(); ++i ) {
      const Observation& observation = sorted[ i ];
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

std::string summaryText( const std::vector< Observation >& observations ) {
   std::string counts;
   for ( State state : { State::Ok, State::Absent, State::Alert, State::Critical, State::Fault,
                         State::Failed, State::Pending } ) {
      if ( auto count = std::ranges::count( observations, state, &Observation::state ) ) {
         counts +=
            fmt::format( "{}{} {}", counts.empty() ? ": " : ", ", count, stateName( state ) );
      }
   }
   return fmt::format( "{} object{}{}\n", observations.size(), observations.size() == 1 ? "" : "s",
                       counts );
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

JsonObject observationJson( const Observation& observation, JsonObject::Allocator& allocator ) {
   const ObjectSpec& object = *observation.object;
   JsonObject json( allocator );
   json.add( "name", object.name );
   json.add( "kind", kindName( object.kind ) );
   json.add( "reading", observation.reading );
   json.addIfAny( "text", observation.text );
   json.add( "unit", operations( object.kind ).unit );
   json.add( "low", object.low );
   json.add( "alert", object.alert );
   json.add( "critical", object.critical );
   json.add( "hysteresis", object.hysteresis );
   json.add( "min", object.range.min );
   json.add( "max", object.range.max );
   json.add( "expected", object.expected );
   json.add( "state", std::string_view( stateName( observation.state ) ) );
   json.addIfAny( "reason", observation.reason );
   return json;
}

std::string statusJson( const std::string& board, const std::vector< Observation >& observations ) {
   JsonObject::Allocator allocator;
   return statusDocument( allocator, board, observations ).text();
}

std::string statusJsonLine( const std::string& board,
                            const std::vector< Observation >& observations ) {
   JsonObject::Allocator allocator;
   return statusDocument( allocator, board, observations ).line();
}

std::string setJson( const std::string& board,
                     const Observation& observation,
                     const Setting& setting,
                     const std::string& text ) {
   Kind kind = observation.object->kind;
   JsonObject::Allocator allocator;
   JsonObject object = observationJson( observation, allocator );
   if ( kind == Kind::Fan || kind == Kind::Gpio ) {
      object.add( "set", std::optional( setting.number ) );
   } else {
      object.add( "set", std::string_view( text ) );
   }
   Value objects( rapidjson::kArrayType );
   objects.PushBack( object.value(), allocator );
   JsonObject json = beginDocument( board, allocator );
   json.add( "objects", std::move( objects ) );
   json.add( "ok", Value( observation.state == State::Ok ) );
   return json.text();
}

std::string problemText( const Observation& observation ) {
   return observation.reason.empty() ? stateName( observation.state ) : observation.reason;
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
