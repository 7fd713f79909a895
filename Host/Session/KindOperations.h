#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "BoardFiles/Board.h"
#include "Host/Session/Reason.h"
#include "pl.h"

namespace Host {

using namespace BoardFiles;

struct Reading {
   pl_status status = PL_STATUS_OK;
   std::optional< double > value = {};  // of kinds that have one, when the status is PL_STATUS_OK
   std::string text = {};               // for people; of a failure why, where the object tells it
};

// What a getter of the library tells, as a reading.
template < typename Record, typename Value >
Reading readNumber( pl_status ( *getter )( Record*, Value* ), Record* record ) {
   Value value{};
   pl_status status = getter( record, &value );
   return status == PL_STATUS_OK ? Reading{ .value = static_cast< double >( value ) }
                                 : Reading{ .status = status };
}

using EntryPoint = void ( * )();  // of the type that the name in pl.h has

// Where the text that objects of a kind tell is shown.
enum class TextPlace { None, Reading, AfterState };

// What a host does with objects of one kind. It may abort, hang or throw, as the driver library
// does: it belongs into a worker.
struct KindOperations {
   Kind kind;
   std::string_view unit;  // of the reading
   void* ( *add )( EntryPoint, const ObjectSpec& );
   Reading ( *read )( void* object );
   TextPlace textPlace = TextPlace::None;
   const char* deviceError = kDeviceError;  // what PL_STATUS_DEVICE_ERROR means to people
};

const KindOperations& operations( Kind kind );

}  // namespace Host
