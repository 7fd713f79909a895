#include "Host/Session/ServiceState.h"

#include "Host/Session/Service.h"

namespace Host {

namespace {

constexpr std::chrono::milliseconds kBelief( 500 );

}  // namespace

const std::string& ServiceState::whyGone() {
   auto now = std::chrono::steady_clock::now();
   bool isKnown = !why_.empty() && now - asked_ < kBelief;
   if ( serviceNeeded() && !isKnown ) {
      why_ = whyNoService( path_ );
      asked_ = std::chrono::steady_clock::now();
   }
   return why_;
}

}  // namespace Host
