#pragma once

#include <sys/types.h>

#include <chrono>
#include <functional>
#include <optional>
#include <string>

#include "Host/Session/Reason.h"

namespace Host {

// What a worker tells its parent. The type, and which members go with it, are agreed between the
// worker's body and whoever started it.
struct Message {
   int32_t type = 0;  // not negative
   int32_t number = 0;
   int32_t status = 0;
   bool hasValue = false;
   double value = 0;
   std::string text = {};
};

// A forked process for work that may abort, crash, throw or hang: none of it takes this program
// down. Its traces and whatever it prints come to the parent; it never outlives it.
class Worker {
 public:
   // The worker's own end.
   class Link {
    public:
      explicit Link( int socket ) : socket_( socket ) {}

      void send( const Message& message ) const;

      // Waits for the parent's next request and meanwhile runs the library's timers. False when
      // the parent wants no more.
      bool awaitRequest() const;

    private:
      int socket_;
   };
   using Body = std::function< void( const Link& ) >;

   // Traces up to `traceLevel` are printed on stderr as they come; -1 prints none. The process
   // ends when the body returns.
   Worker( const Body& body, int traceLevel );
   ~Worker();
   Worker( const Worker& ) = delete;
   Worker& operator=( const Worker& ) = delete;

   // Wakes the worker from awaitRequest().
   void request() const;

   // The next message; nothing when the process ended, or did not say a word within the limit.
   std::optional< Message > next( std::chrono::milliseconds limit );

   // Traces since the last clearTraces(), the latest few hundred.
   const Traces& traces() const { return traces_; }
   void clearTraces() { traces_.clear(); }

   // After next() returned nothing: ends the process, and says why there is nothing to come.
   std::string end();

 private:
   bool waitReadable( std::chrono::steady_clock::time_point deadline );
   std::optional< Message > receive();
   void keepTrace( Message& message );
   void drainOutput();
   int reap();

   pid_t process_ = -1;
   int socket_ = -1;
   int output_ = -1;  // what the process prints
   int traceLevel_;
   Traces traces_;
   std::string printed_;
   std::optional< std::chrono::milliseconds > exceeded_;  // the time limit that has passed
};

}  // namespace Host
