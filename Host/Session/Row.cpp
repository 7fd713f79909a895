#include "Host/Session/Row.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace Host {

namespace {

State stateOf( const ObjectSpec& object, double value ) {
   if ( object.critical && value >= *object.critical ) {
      return State::Critical;
   }
   return object.alert && value >= *object.alert ? State::Alert : State::Ok;
}

State stateOf( pl_status status ) {
   switch ( status ) {
      case PL_STATUS_ABSENT:
         return State::Absent;
      case PL_STATUS_DEVICE_ERROR:
         return State::Fault;
      default:
         return State::Failed;
   }
}

}  // namespace

const char* stateName( State state ) {
   switch ( state ) {
      case State::Ok:
         return "ok";
      case State::Alert:
         return "alert";
      case State::Critical:
         return "critical";
      case State::Absent:
         return "absent";
      case State::Fault:
         return "fault";
      case State::Failed:
         break;
   }
   return "failed";
}

Row readRow( const ObjectSpec& object, const Reading& reading, const Traces& traces ) {
   if ( reading.status == PL_STATUS_ABSENT ) {
      return { &object, {}, State::Absent, "" };
   }
   if ( reading.status != PL_STATUS_OK ) {
      return { &object, {}, stateOf( reading.status ), whyNotRead( reading.status, traces ) };
   }
   if ( !reading.value ) {
      return { &object, {}, State::Ok, "" };
   }
   double value = *reading.value;
   if ( !std::isfinite( value ) ) {
      return { &object, {}, State::Fault, "the reading is no number" };
   }
   if ( object.kind == Kind::Psu && value == 0 ) {
      return { &object, value, State::Fault, "the power is not ok" };
   }
   return { &object, value, stateOf( object, value ), "" };
}

Row failedRow( const ObjectSpec& object, std::string reason ) {
   return { &object, {}, State::Failed, std::move( reason ) };
}

bool allOk( const std::vector< Row >& rows ) {
   return std::ranges::all_of( rows, []( const Row& row ) { return row.state == State::Ok; } );
}

}  // namespace Host
