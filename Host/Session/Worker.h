#pragma once

#include <sys/types.h>

#include <chrono>
#include <functional>
#include <optional>
#include <string>

#include "Host/Session/RequestFailure.h"

namespace Host {

// What a worker tells its parent. The type, and which members go with it, are agreed between the
// worker's body and whoever started it.
struct Message {
   int32_t type = 0;  // not negative
   int32_t number = 0;
   int32_t status = 0;
   std::optional< double > value = {};
   std::string text = {};
};

// A forked process for work that may abort, crash, throw or hang: none of it takes this program
// down. It never outlives this program.
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

   // What the process prints, with the library's traces up to `traceLevel`, goes to stderr; -1
   // prints nothing. The process ends when the body returns.
   Worker( const Body& body, int traceLevel );
   ~Worker();
   Worker( const Worker& ) = delete;
   Worker& operator=( const Worker& ) = delete;

   // Wakes the worker from awaitRequest().
   void request() const;

   // The next message; nothing when the process ended, or did not say a word within the limit. Time
   // in which this program was stopped, and most likely the worker with it, does not count.
   std::optional< Message > next( std::chrono::milliseconds limit );

   // The latest failure of the SMBus service since the last forgetFailure(), known as soon as it
   // happens.
   const std::optional< RequestFailure >& failure() const { return failure_; }
   void forgetFailure() { failure_.reset(); }

   // After next() returned nothing: ends the process, and says why there is nothing to come.
   std::string end();

 private:
   class Patience;

   bool waitReadable( Patience& patience );
   std::optional< Message > receive();
   bool passOutput();
   int reap();

   pid_t process_ = -1;
   int socket_ = -1;
   int output_ = -1;  // what the process prints
   bool prints_;
   std::optional< RequestFailure > failure_;
   std::optional< std::chrono::milliseconds > exceeded_;  // the time limit that has passed
};

}  // namespace Host
