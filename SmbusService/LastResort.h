#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>

namespace SmbusService {

class Log;
class WireLog;

// Ends the process when it does not end by itself in time: a transfer that hangs in the kernel
// cannot be interrupted. What the wire log has is written, as far as that can be done.
class LastResort {
 public:
   // Both outlive the object.
   LastResort( WireLog& wireLog,
               Log& log,
               std::chrono::milliseconds limit = std::chrono::seconds( 9 ) )
       : wireLog_( wireLog ), log_( log ), limit_( limit ), thread_( [ this ] { wait(); } ) {}
   ~LastResort();  // the process has ended in time
   LastResort( const LastResort& ) = delete;
   LastResort& operator=( const LastResort& ) = delete;

   // The process is to end from now on.
   void arm() { set( isArmed_ ); }

 private:
   void set( bool& state );
   void wait();

   WireLog& wireLog_;
   Log& log_;
   const std::chrono::milliseconds limit_;
   std::mutex mutex_;
   std::condition_variable changed_;
   bool isArmed_ = false;
   bool hasEnded_ = false;
   std::thread thread_;  // from the start, as there may be no room for another at the end
};

}  // namespace SmbusService
