#include "Host/Session/ServiceState.h"

#include "Host/Session/Service.h"

namespace Host {

namespace {

// The session waits meanwhile, and so does everybody who uses it.
constexpr std::chrono::milliseconds kPatience( 500 );

constexpr std::chrono::milliseconds kBelief( 500 );
constexpr std::chrono::seconds kBeliefOfSilence( 5 );  // which took long to find out

}  // namespace

const std::string& ServiceState::whyGone() {
   auto now = std::chrono::steady_clock::now();
   bool isKnown = !why_.empty() && now < asked_ + ( wasSilent_ ? kBeliefOfSilence : kBelief );
   if ( serviceNeeded() && !isKnown ) {
      why_ = whyNoService( path_, kPatience );
      asked_ = std::chrono::steady_clock::now();
      wasSilent_ = asked_ - now >= kPatience;
   }
   return why_;
}

}  // namespace Host
