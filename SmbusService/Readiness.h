#pragma once

#include <asio/io_context.hpp>
#include <asio/steady_timer.hpp>
#include <chrono>
#include <string>

namespace SmbusService {

// Tells the service manager how the service fares; does nothing where none has started it. All on
// the thread that runs the context, or when none does.
class Readiness {
 public:
   explicit Readiness( asio::io_context& );

   // The service serves, for the first time or after a reload; `status` is for people. From the
   // first call on the watchdog is answered for as long as somebody runs the context.
   void ready( const std::string& status );
   void reloading();

   // The service is about to end. Leaves nothing for the context to do.
   void stopping();

 private:
   void answerWatchdog();

   asio::steady_timer timer_;
   std::chrono::microseconds watchdogInterval_{ 0 };  // 0: there is no watchdog
};

}  // namespace SmbusService
