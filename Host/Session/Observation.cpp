#include "Host/Session/Observation.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

namespace Host {

namespace {

constexpr double kFastestFan = 1'000'000;  // rpm; what drivers make of a wrong count is above

constexpr std::array kStateNames = { "ok",    "alert",  "critical", "absent",
                                     "fault", "failed", "pending" };

State stateOf( const ObjectSpec& object, double value ) {
   if ( object.critical && value >= *object.critical ) {
      return State::Critical;
   }
   return object.alert && value >= *object.alert ? State::Alert : State::Ok;
}

}  // namespace

const char* stateName( State state ) {
   return kStateNames[ static_cast< size_t >( state ) ];
}

Observation observed( const ObjectSpec& object, const Reading& reading, std::string reason ) {
   if ( reading.status == PL_STATUS_ABSENT ) {
      return { &object, State::Absent };
   }
   if ( reading.status == PL_STATUS_DEVICE_ERROR ) {
      return { &object, State::Fault, std::move( reason ), reading.value };
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
   if ( object.kind == Kind::Fan && value == 0 && object.range.min.value_or( 0 ) > 0 ) {
      return { &object, State::Critical, "the fan does not turn", value };
   }
   return { &object, stateOf( object, value ), "", value, reading.text };
}

Observation failed( const ObjectSpec& object, std::string reason ) {
   return { &object, State::Failed, std::move( reason ) };
}

bool allOk( const std::vector< Observation >& observations ) {
   return std::ranges::all_of(
      observations, []( State state ) { return state == State::Ok; }, &Observation::state );
}

}  // namespace Host
