#include "Host/Output/PoeReport.h"

#include <fmt/format.h>

#include <algorithm>

#include "Host/Output/JsonDocument.h"
#include "Host/Output/Report.h"

namespace Host {

namespace {

using Number = std::optional< double >;

std::string fixed( const Number& number, int decimals ) {
   return number ? fmt::format( "{:.{}f}", *number, decimals ) : "-";
}

std::string orDash( std::string text ) {
   return text.empty() ? "-" : text;
}

std::string words( std::string reason ) {
   std::ranges::replace( reason, '_', ' ' );
   return reason;
}

std::string adminState( const PoePort& port ) {
   return !port.isEnabled ? "" : *port.isEnabled ? "enabled" : "disabled";
}

std::string limitText( const PoePort& port ) {
   return port.limit ? fixed( port.limit, 1 ) + " " + port.limitType : orDash( port.limitType );
}

Colour colourOf( const PoePort& port ) {
   if ( !port.isRead || port.isFaulty() ) {
      return Colour::Red;
   }
   return port.status == "delivering"   ? Colour::Green
          : port.status == "requesting" ? Colour::Yellow
          : port.status == "disabled"   ? Colour::Dim
                                        : Colour::None;
}

std::vector< Cell > row( const PoePort& port ) {
   Colour colour = colourOf( port );
   return { { port.object->name },
            { orDash( adminState( port ) ) },
            { orDash( port.status ), colour },
            { port.deviceClass ? std::to_string( *port.deviceClass ) : "-" },
            { fixed( port.watts, 1 ) },
            { limitText( port ) },
            { fixed( port.volts, 1 ) },
            { fixed( port.amperes, 3 ) },
            { fixed( port.celsius, 1 ) },
            { orDash( port.isRead ? words( port.reason ) : port.reason ), colour } };
}

// The first port's that tells it.
template < typename Value >
Value firstOf( const PoeController& controller, Value PoePort::*member ) {
   for ( const PoePort& port : controller.ports ) {
      if ( port.*member != Value{} ) {
         return port.*member;
      }
   }
   return {};
}

std::string controllerLine( const PoeController& controller ) {
   auto delivering = std::ranges::count( controller.ports, "delivering", &PoePort::status );
   Number consumed = firstOf( controller, &PoePort::consumed );
   Number budget = firstOf( controller, &PoePort::budget );
   std::string firmware = firstOf( controller, &PoePort::firmware );
   return fmt::format(
      "{}: {}, {} of {} ports delivering, firmware {}\n", controllerName( controller.did ),
      consumed || budget ? fmt::format( "{} of {} W", fixed( consumed, 1 ), fixed( budget, 1 ) )
                         : "consumption unknown",
      delivering, controller.ports.size(), firmware.empty() ? "unknown" : firmware );
}

Value didJson( const std::optional< uint32_t >& did ) {
   return did ? Value( *did ) : Value();
}

Value portJson( const PoePort& port, JsonObject::Allocator& allocator ) {
   JsonObject json( allocator );
   json.add( "name", port.object->name );
   json.addIfAny( "admin_state", adminState( port ) );
   json.addIfAny( "status", port.status );
   json.addIfAny( "reason", port.reason );
   json.add( "class", port.deviceClass ? Value( *port.deviceClass ) : Value() );
   json.add( "power_w", port.watts );
   json.addIfAny( "limit_type", port.limitType );
   json.add( "limit_w", port.limit );
   json.add( "voltage_v", port.volts );
   json.add( "current_a", port.amperes );
   json.add( "temperature_c", port.celsius );
   return std::move( json.value() );
}

Value controllerJson( const PoeController& controller, JsonObject::Allocator& allocator ) {
   JsonObject json( allocator );
   json.add( "did", didJson( controller.did ) );
   json.add( "consumed_w", firstOf( controller, &PoePort::consumed ) );
   json.add( "budget_w", firstOf( controller, &PoePort::budget ) );
   json.addIfAny( "firmware_version", firstOf( controller, &PoePort::firmware ) );
   return std::move( json.value() );
}

Value outcomeJson( const PoeFirmwareOutcome& outcome, JsonObject::Allocator& allocator ) {
   bool ok = outcome.port.state == State::Ok;
   JsonObject json( allocator );
   json.add( "did", didJson( outcome.did ) );
   json.add( "object", outcome.port.object->name );
   json.add( "outcome", ok ? outcome.port.text : problemText( outcome.port ) );
   json.add( "ok", Value( ok ) );
   return std::move( json.value() );
}

}  // namespace

std::string controllerName( const std::optional< uint32_t >& did ) {
   return did ? fmt::format( "controller {}", *did ) : "a controller";
}

bool allWell( const std::vector< PoeController >& controllers ) {
   return std::ranges::all_of( controllers, []( const PoeController& controller ) {
      return std::ranges::all_of(
         controller.ports, []( const PoePort& port ) { return port.isRead && !port.isFaulty(); } );
   } );
}

std::string poeTable( const std::vector< PoePort >& ports,
                      const std::vector< PoeController >& controllers,
                      const TableStyle& style ) {
   std::vector< std::vector< Cell > > rows;
   std::ranges::transform( ports, std::back_inserter( rows ), row );
   std::string text = formatTable( { { "port" },
                                     { "admin" },
                                     { "status" },
                                     { .title = "class", .rightAligned = true },
                                     { .title = "watts", .rightAligned = true },
                                     { .title = "limit", .rightAligned = true },
                                     { .title = "volts", .rightAligned = true },
                                     { .title = "amperes", .rightAligned = true },
                                     { .title = "degrees", .rightAligned = true },
                                     { "reason" } },
                                   rows, style );
   text += "\n";
   for ( const PoeController& controller : controllers ) {
      text += controllerLine( controller );
   }
   return text;
}

std::string poeJson( const std::string& board,
                     const std::vector< PoePort >& ports,
                     const std::vector< PoeController >& controllers ) {
   JsonObject::Allocator allocator;
   JsonObject json = beginDocument( board, allocator );
   json.add( "ports", arrayJson( ports, allocator, portJson ) );
   json.add( "controllers", arrayJson( controllers, allocator, controllerJson ) );
   json.add( "ok", Value( allWell( controllers ) ) );
   return json.text();
}

std::string poeTextsJson( const std::string& board,
                          const Observation& port,
                          const PoeTexts& texts ) {
   bool ok = port.state == State::Ok;
   JsonObject::Allocator allocator;
   JsonObject json = beginDocument( board, allocator );
   json.add( "object", port.object->name );
   json.addLines( "information", texts.information );
   json.addLines( "debug_report", texts.debugReport );
   if ( !ok ) {
      json.add( "error", problemText( port ) );
   }
   json.add( "ok", Value( ok ) );
   return json.text();
}

std::string poeFirmwareJson( const std::string& board,
                             const std::vector< PoeFirmwareOutcome >& outcomes ) {
   bool ok = std::ranges::all_of( outcomes, []( const PoeFirmwareOutcome& outcome ) {
      return outcome.port.state == State::Ok;
   } );
   JsonObject::Allocator allocator;
   JsonObject json = beginDocument( board, allocator );
   json.add( "controllers", arrayJson( outcomes, allocator, outcomeJson ) );
   json.add( "ok", Value( ok ) );
   return json.text();
}

}  // namespace Host
