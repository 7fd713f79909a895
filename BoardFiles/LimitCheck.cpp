#include "BoardFiles/LimitCheck.h"

#include <fmt/format.h>

namespace BoardFiles {

void checkLimits( const Utils::Json::Value& object,
                  const Place& place,
                  std::vector< Finding >& findings ) {
   auto [ low, alert, critical, hysteresis ] =
      Utils::Json::members< "low", "alert", "critical", "hysteresis" >( object );
   auto report = [ & ]( const char* member, const std::string& problem ) {
      Place at = place.member( member );
      findings.push_back( { at.file, at.pointer, problem } );
   };
   if ( alert && alert->GetDouble() > critical->GetDouble() ) {
      report( "alert", "must not be above \"critical\"" );
   }
   if ( !low ) {
      return;
   }
   double span = alert->GetDouble() - low->GetDouble();
   if ( span <= 0 ) {
      report( "low", "must be below \"alert\"" );
   } else if ( hysteresis && 2 * hysteresis->GetDouble() >= span ) {
      report( "hysteresis",
              fmt::format( "must be below {}, the half of what lies between \"low\" and \"alert\": "
                           "no reading would end an alert",
                           span / 2 ) );
   }
}

}  // namespace BoardFiles
