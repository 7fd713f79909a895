#include "SmbusService/Readiness.h"

#include <systemd/sd-daemon.h>

#include <cstdint>

namespace SmbusService {

namespace {

void notify( const std::string& state ) {
   sd_notify( 0, state.c_str() );  // a manager that does not listen is no reason to stop serving
}

}  // namespace

Readiness::Readiness( asio::io_context& context ) : timer_( context ) {
   uint64_t microseconds = 0;
   if ( sd_watchdog_enabled( 0, &microseconds ) > 0 ) {
      watchdogInterval_ = std::chrono::microseconds( microseconds );
   }
}

void Readiness::ready( const std::string& status ) {
   notify( "READY=1\nSTATUS=" + status );
   if ( watchdogInterval_.count() > 0 ) {
      answerWatchdog();
   }
}

void Readiness::reloading() {
   notify( "RELOADING=1" );
}

void Readiness::stopping() {
   timer_.cancel();
   watchdogInterval_ = std::chrono::microseconds( 0 );
   notify( "STOPPING=1" );
}

// On the context that accepts clients, so that the manager notices when it hangs. A new wait
// cancels the one under way.
void Readiness::answerWatchdog() {
   notify( "WATCHDOG=1" );
   timer_.expires_after( watchdogInterval_ / 2 );
   timer_.async_wait( [ this ]( asio::error_code error ) {
      if ( !error && watchdogInterval_.count() > 0 ) {
         answerWatchdog();
      }
   } );
}

}  // namespace SmbusService
