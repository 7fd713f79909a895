#pragma once

#include <chrono>
#include <string>

namespace Host {

// Whether the SMBus service answers. That it does not is believed for a while: asking takes time.
class ServiceState {
 public:
   explicit ServiceState( std::string path ) : path_( std::move( path ) ) {}

   const std::string& path() const { return path_; }

   // Why it does not; empty where it does, or where none is needed.
   const std::string& whyGone();

   // The same where it did not when it was asked last; empty where nothing is known against it.
   const std::string& whyStillGone() { return why_.empty() ? why_ : whyGone(); }

 private:
   std::string path_;
   std::string why_;
   std::chrono::steady_clock::time_point asked_;
   bool wasSilent_ = false;
};

}  // namespace Host
