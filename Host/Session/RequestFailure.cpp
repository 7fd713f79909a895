#include "Host/Session/RequestFailure.h"

#include <fmt/format.h>

#include <cerrno>

#include "Host/Session/ChipName.h"

namespace Host {

RequestFailure RequestFailure::of( const pl_service_failure& failure ) {
   bool isOneRequest = failure.answered && failure.request >= 0;
   RequestFailure result{ failure, isOneRequest ? failure.reason : failure.text };
   result.details.reason = result.details.text = nullptr;
   return result;
}

// Some adapters tell of a missing acknowledge as of any other failure.
bool RequestFailure::lacksAnswer() const {
   return details.answered && details.request >= 0 &&
          ( details.error == ENXIO || details.error == EREMOTEIO || details.error == EIO ||
            details.error == ENODEV );
}

std::string RequestFailure::explain( const Board& board, const ObjectSpec& object ) const {
   if ( !details.answered || details.request < 0 ) {
      return words;
   }
   std::string chip = chipName( board, object, details );
   bool isAbsent = details.error == ENXIO || details.error == EREMOTEIO;
   return isAbsent ? fmt::format( "{} from {}", words, chip )
                   : fmt::format( "{}: {}", chip, words );
}

}  // namespace Host
