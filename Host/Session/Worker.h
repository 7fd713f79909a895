#pragma once

#include <poll.h>
#include <sys/types.h>

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

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

      // Waits for the parent's next request, whose numbers it returns, and meanwhile runs the
      // library's timers. Nothing when the parent wants no more.
      std::optional< std::vector< int32_t > > awaitRequest() const;

      // Does the work in a child, which has this link as well, and waits until it has ended;
      // returns how it did, as wait() tells it. The child does not outlive this process.
      int runInChild( const std::function< void() >& work ) const;

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

   // Wakes the worker from awaitRequest(). There is room for some thousand numbers.
   void request( std::vector< int32_t > numbers ) const;

   // What take() is to be called for.
   void addDescriptors( std::vector< pollfd >& descriptors ) const;

   // The next message that is there. Nothing where there is none; it may be that the process has
   // ended, and none will come.
   std::optional< Message > take();
   bool hasEnded() const { return hasEnded_; }

   // The latest failure of the SMBus service since the last forgetFailure(), known as soon as it
   // happens.
   const std::optional< RequestFailure >& failure() const { return failure_; }
   void forgetFailure() { failure_.reset(); }

   // Ends the process, if it has not ended; returns how it did, as wait() tells it.
   int end();

 private:
   std::optional< Message > receive();
   bool passOutput();
   void printFirst( size_t size );

   pid_t process_ = -1;
   int socket_ = -1;
   int output_ = -1;  // what the process prints
   bool prints_;
   std::string printed_;  // what of it has no end of line yet
   std::optional< RequestFailure > failure_;
   std::string packet_;  // of the message in hand
   bool hasEnded_ = false;
};

}  // namespace Host
