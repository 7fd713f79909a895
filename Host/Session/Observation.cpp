#include "Host/Session/Observation.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

namespace Host {

namespace {

constexpr double kFastestFan = 1'000'000;  // rpm; what drivers make of a wrong count is above

constexpr std::array kStateNames = { "ok",    "alert",  "critical", "absent",
                                     "fault", "failed", "pending" };

// What a reading means.
struct Verdict {
   State state = State::Ok;
   std::string reason = {};  // where the limit does not tell it
};

// By the limits as they stand.
Verdict temperatureNow( const ObjectSpec& sensor, double celsius ) {
   if ( sensor.critical && celsius >= *sensor.critical ) {
      return { State::Critical };
   }
   if ( sensor.low && celsius <= *sensor.low ) {
      return { State::Alert, "at or below its low limit" };
   }
   return { sensor.alert && celsius >= *sensor.alert ? State::Alert : State::Ok };
}

// A state that was reached is left only when the reading is well inside of the limit.
Verdict temperature( const ObjectSpec& sensor, double celsius, State previous ) {
   Verdict now = temperatureNow( sensor, celsius );
   double inside = sensor.hysteresis.value_or( 0 );
   bool wasCritical = previous == State::Critical;
   bool wasAlert = wasCritical || previous == State::Alert;
   if ( wasCritical && now.state != State::Critical && celsius > *sensor.critical - inside ) {
      return { State::Critical,
               fmt::format( "until it is down to {} C", *sensor.critical - inside ) };
   }
   if ( !wasAlert || now.state != State::Ok ) {
      return now;
   }
   if ( celsius > *sensor.alert - inside ) {
      return { State::Alert, fmt::format( "until it is down to {} C", *sensor.alert - inside ) };
   }
   if ( sensor.low && celsius < *sensor.low + inside ) {
      return { State::Alert, fmt::format( "until it is up to {} C", *sensor.low + inside ) };
   }
   return now;
}

Verdict speed( const ObjectSpec& fan, double rpm ) {
   double min = fan.range.min.value_or( 0 );
   if ( rpm == 0 && min > 0 ) {
      return { State::Critical, "the fan does not turn" };
   }
   return rpm < min * ( 1 - kFanTolerance )
             ? Verdict{ State::Alert, "slower than its lowest speed" }
             : Verdict{};
}

Verdict judged( const ObjectSpec& object, double value, State previous ) {
   switch ( object.kind ) {
      case Kind::TempSensor:
         return temperature( object, value, previous );
      case Kind::Fan:
         return speed( object, value );
      case Kind::Gpio:
         return object.expected && value != *object.expected
                   ? Verdict{ State::Alert, fmt::format( "should be {}", *object.expected ) }
                   : Verdict{};
      default:
         return {};
   }
}

}  // namespace

const char* stateName( State state ) {
   return kStateNames[ static_cast< size_t >( state ) ];
}

Observation observed( const ObjectSpec& object,
                      const Reading& reading,
                      std::string reason,
                      const Observation* previous ) {
   if ( reading.status == PL_STATUS_ABSENT ) {
      return { &object, State::Absent };
   }
   if ( reading.status == PL_STATUS_DEVICE_ERROR ) {
      bool shouldTurn = object.kind == Kind::Fan && object.range.min.value_or( 0 ) > 0;
      return { &object, shouldTurn ? State::Critical : State::Fault, std::move( reason ),
               reading.value };
   }
   if ( reading.status != PL_STATUS_OK ) {
      return failed( object, std::move( reason ) );
   }
   if ( !reading.value ) {
      return { .object = &object, .state = State::Ok, .text = reading.text };
   }
   double value = *reading.value;
   if ( !std::isfinite( value ) ) {
      return { &object, State::Fault, "the reading is no number" };
   }
   if ( object.kind == Kind::Psu && value == 0 ) {
      return { &object, State::Fault, "the power is not ok", value };
   }
   if ( object.kind == Kind::Fan && ( value < 0 || value > kFastestFan ) ) {
      return { &object, State::Fault, "the tachometer tells no speed" };
   }
   auto [ state, why ] = judged( object, value, previous ? previous->state : State::Pending );
   return { &object, state, std::move( why ), value, reading.text };
}

Observation failed( const ObjectSpec& object, std::string reason ) {
   return { &object, State::Failed, std::move( reason ) };
}

size_t urgency( State state ) {
   return static_cast< size_t >( std::ranges::find( kStatesByUrgency, state ) -
                                 kStatesByUrgency.begin() );
}

bool allOk( const std::vector< Observation >& observations ) {
   return std::ranges::all_of(
      observations, []( State state ) { return state == State::Ok; }, &Observation::state );
}

}  // namespace Host
