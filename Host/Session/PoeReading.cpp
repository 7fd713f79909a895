#include "Host/Session/PoeReading.h"

#include <array>
#include <cmath>
#include <cstdlib>
#include <cstring>

#include "Host/Session/LabelledText.h"

namespace Host {

namespace {

// What a port's callbacks tell. It stands before the information in the text of a reading.
struct Values {
   pl_poe_port_state state;
   pl_poe_device_class deviceClass;
   float watts, volts, amperes, celsius;
};

// In the order of pl_poe_port_state.
constexpr std::array kStatusNames = { "disabled",   "searching", "requesting", "requesting",
                                      "delivering", "fault",     "fault" };

// In the order of pl_poe_port_pair_state, behind a status.
constexpr std::array kPairNames = { "", ", primary pairs", ", alternative pairs",
                                    ", all four pairs" };

bool isFault( pl_poe_port_state state ) {
   return state == PL_POE_PORT_FAULT || state == PL_POE_PORT_OVERLOAD;
}

std::string taken( char* text ) {
   std::string copy = text ? text : "";
   free( text );
   return copy;
}

struct States {
   pl_poe_port_state whole{}, primary{}, alternative{};
   pl_poe_port_pair_state pairs{};
};

pl_status readStates( pl_poe_port* port, States& states ) {
   return port->ops->get_poe_port_power_state( port, &states.whole, &states.primary,
                                               &states.alternative, &states.pairs );
}

pl_status readState( pl_poe_port* port, pl_poe_port_state* state ) {
   States states;
   pl_status status = readStates( port, states );
   *state = states.whole;
   return status;
}

pl_status readClass( pl_poe_port* port, pl_poe_device_class* deviceClass ) {
   pl_poe_device_class primary{};
   pl_poe_device_class alternative{};
   return port->ops->get_poe_device_class( port, deviceClass, &primary, &alternative );
}

pl_status readWatts( pl_poe_port* port, float* watts ) {
   float primary = 0;
   float alternative = 0;
   return port->ops->get_poe_port_power( port, watts, &primary, &alternative );
}

pl_status readValues( pl_poe_port* port, Values& values ) {
   const pl_poe_port_ops& ops = *port->ops;
   pl_status status = readState( port, &values.state );
   status = status ? status : readClass( port, &values.deviceClass );
   status = status ? status : readWatts( port, &values.watts );
   status = status ? status : ops.get_poe_port_voltage( port, &values.volts );
   status = status ? status : ops.get_poe_port_current( port, &values.amperes );
   return status ? status : ops.get_poe_port_temperature( port, &values.celsius );
}

std::optional< double > finite( double value ) {
   return std::isfinite( value ) ? std::optional( value ) : std::nullopt;
}

// The callback does not tell two kinds of fault apart, nor a test from either.
std::string statusOf( const Values& values, const LabelledText& information ) {
   auto state = static_cast< size_t >( values.state );
   if ( !isFault( values.state ) ) {
      return state < kStatusNames.size() ? kStatusNames[ state ] : "";
   }
   std::string told = information.value( "Port status" );
   return told == "other fault" ? "otherfault" : told == "test" ? "test" : "fault";
}

std::string reasonOf( const PoePort& port, const Values& values, const LabelledText& information ) {
   if ( values.state == PL_POE_PORT_OVERLOAD ) {
      return "overload_detected";
   }
   auto counted = [ & ]( const char* label ) { return information.number( label ) > 0.0; };
   if ( port.isFaulty() && counted( "Short circuit" ) ) {
      return "short_detected";
   }
   if ( port.status == "requesting" && counted( "Power denied" ) ) {
      return "power_not_available";
   }
   return port.status == "searching" && counted( "Power signature absent" ) ? "mps_absent" : "";
}

}  // namespace

pl_status readPoeInformation( pl_poe_port* port, std::string& text ) {
   char* told = nullptr;
   pl_status status = port->ops->get_poe_port_information( port, &told );
   text = taken( told );
   return status;
}

pl_status readPoeDebugReport( pl_poe_port* port, bool isVerbose, std::string& text ) {
   char* told = nullptr;
   pl_status status = port->ops->debug_info( port, &told, isVerbose );
   text = taken( told );
   return status;
}

Reading readPoePower( void* object ) {
   auto port = static_cast< pl_poe_port* >( object );
   float watts = 0;
   pl_poe_port_state state{};
   pl_status status = readWatts( port, &watts );
   status = status ? status : readState( port, &state );
   if ( status != PL_STATUS_OK ) {
      return { .status = status };
   }
   if ( isFault( state ) ) {
      return { PL_STATUS_DEVICE_ERROR, watts,
               state == PL_POE_PORT_OVERLOAD ? "overload" : "fault" };
   }
   return { PL_STATUS_OK, watts, state == PL_POE_PORT_DISABLED ? "disabled" : "" };
}

Reading readPoeState( pl_poe_port* port ) {
   States states;
   if ( pl_status status = readStates( port, states ) ) {
      return { .status = status };
   }
   auto word = []( const auto& names, auto number ) -> std::string {
      auto place = static_cast< size_t >( number );
      return place < names.size() ? names[ place ] : "unknown";
   };
   return { .text = word( kStatusNames, states.whole ) + word( kPairNames, states.pairs ) };
}

Reading readPoeClass( pl_poe_port* port ) {
   pl_poe_device_class deviceClass{};
   if ( pl_status status = readClass( port, &deviceClass ) ) {
      return { .status = status };
   }
   return deviceClass < PL_POE_CLASS_UNKNOWN
             ? Reading{ .value = static_cast< double >( deviceClass ) }
             : Reading{ .text = "unknown" };
}

Reading readPoePort( void* object ) {
   auto port = static_cast< pl_poe_port* >( object );
   Values values{};
   std::string information;
   pl_status status = readValues( port, values );
   status = status ? status : readPoeInformation( port, information );
   if ( status != PL_STATUS_OK ) {
      return { .status = status };
   }
   std::string bytes( reinterpret_cast< const char* >( &values ), sizeof values );
   return { .text = bytes + information };
}

PoePort poePortOf( const Observation& observation ) {
   PoePort port{ .object = observation.object };
   Values values{};
   if ( observation.state != State::Ok || observation.text.size() < sizeof values ) {
      port.status = stateName( observation.state == State::Absent ? State::Absent : State::Failed );
      port.reason = observation.reason;
      return port;
   }
   memcpy( &values, observation.text.data(), sizeof values );
   LabelledText information( std::string_view( observation.text ).substr( sizeof values ) );
   std::string enabled = information.value( "Enabled" );
   port.isRead = true;
   if ( enabled == "yes" || enabled == "no" ) {
      port.isEnabled = enabled == "yes";
   }
   port.status = statusOf( values, information );
   port.reason = reasonOf( port, values, information );
   if ( values.deviceClass < PL_POE_CLASS_UNKNOWN ) {
      port.deviceClass = values.deviceClass;
   }
   port.watts = finite( values.watts );
   port.volts = finite( values.volts );
   port.amperes = finite( values.amperes );
   port.celsius = finite( values.celsius );
   port.limitType = information.value( "Limit type" );
   if ( port.limitType == "user" ) {
      port.limit = information.number( "Limit" );
   }
   port.consumed = information.number( "Consumed" );
   port.budget = information.number( "Budget" );
   port.firmware = information.value( "Firmware version" );
   return port;
}

}  // namespace Host
