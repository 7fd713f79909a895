#pragma once

#include <poll.h>

#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "Host/Session/Observation.h"
#include "Host/Session/Patience.h"
#include "Host/Session/ServiceState.h"
#include "Host/Session/SessionWorker.h"
#include "Host/Session/Worker.h"

namespace Host {

// What every lane of a session works with.
struct LaneContext {
   using Observe = std::function< void( size_t object, const Reading& reading, std::string why ) >;

   SessionWorker::Task task;
   ServiceState& service;
   std::chrono::milliseconds stepLimit;   // to add or read one object
   std::chrono::milliseconds firstRetry;  // after an object has killed a worker
   int traceLevel;                        // traces that are printed; -1 for none
   std::function< void() > beginWorker;   // runs in each worker, before anything else does
   std::function< void( size_t object, const std::string& line ) > hearTrace;

   // Hear what became of an object in a sweep: that it was read, or why it failed.
   Observe observe;
   std::function< void( size_t object, std::string why ) > fail;
};

// Some of a board's objects in the driver library, held by a worker. An object that kills the
// worker, or keeps it busy for too long, is failed from then on, unless the SMBus service is to
// blame; a fresh worker goes on without it. So is an object whose chip may not be set up as it
// should: one that answers again after it did not, or a sensor whose making a request failed for.
// Nothing here waits.
class Lane {
 public:
   // The context must outlive the lane. Objects are positions on the board.
   Lane( const LaneContext& context, std::vector< size_t > objects );

   // Reads every object once, but those on loan; those that are failed are told at once.
   void begin();
   bool isBusy() const { return isBusy_; }

   // What proceed() is to be called for; it is to be called every Patience::kStep as well.
   void addDescriptors( std::vector< pollfd >& descriptors ) const;
   void proceed();

   // Of the objects that are failed, the one whose next trial has been due for longest, once the
   // sweep is over; trials that fail get rarer.
   std::optional< size_t > dueForTrial() const;
   bool hasFailed() const { return !failed_.empty(); }
   void failAgain( size_t object, const std::string& why );

   // Objects that are tried elsewhere, and the end of that.
   void lend( std::set< size_t > objects ) { onLoan_ = std::move( objects ); }
   void takeBack() { onLoan_.clear(); }

   // Reads an object that came back, from the next sweep on. What has failed beside it is worth a
   // trial now: it may hang on the same chip.
   void adopt( size_t object );

 private:
   struct Failure {
      std::string why;
      std::chrono::steady_clock::time_point retry;
      std::chrono::steady_clock::duration interval = {};
   };

   void goOn();
   void startWorker();
   void hear( const Message& said );
   void hearReading( size_t object, Reading reading );
   void close( size_t object );
   void distrust( size_t object, const std::string& why );
   void fail( size_t object, const std::string& why );
   void closeFailed( size_t object, const std::string& otherwise );
   bool blamesService() const;
   bool isSensor( size_t object ) const;
   std::string reasonFor( size_t object, const std::string& otherwise ) const;
   std::string whyNotRead( size_t object, const Reading& reading ) const;
   std::string whyNotMadeWhole( size_t object ) const;
   bool blame( const std::string& why );
   void bury( const std::string& why );
   void hearDeath( const std::string& why );
   void stop( const std::string& why );

   const LaneContext& context_;
   std::vector< size_t > objects_;
   std::map< size_t, Failure > failed_;  // objects that are left out until a trial went well
   std::set< size_t > onLoan_;
   std::set< size_t > away_;  // objects whose chips did not answer when they were read last
   std::unique_ptr< Worker > worker_;
   Patience patience_;
   bool isBusy_ = false;
   std::set< size_t > open_;          // objects that are still to be told of in this sweep
   std::optional< size_t > current_;  // that the worker is busy with
   bool isNew_ = false;               // it was added just now
   std::string doubt_;                // why what it reads is not to be believed, if that is so
   bool hasStarted_ = false;          // the worker has got as far as its objects
   bool isDeadly_ = false;            // an object has killed a worker
};

}  // namespace Host
