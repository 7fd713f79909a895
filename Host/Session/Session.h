#pragma once

#include <chrono>
#include <functional>
#include <list>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "BoardFiles/Board.h"
#include "Host/Session/DriverLibrary.h"
#include "Host/Session/Lane.h"
#include "Host/Session/LanePlan.h"
#include "Host/Session/Observation.h"
#include "Host/Session/ServiceState.h"
#include "Host/Session/SessionWorker.h"

namespace Host {

using namespace BoardFiles;

struct SessionOptions {
   std::string socket = {};  // of the SMBus service
   int traceLevel = -1;      // traces that are printed; -1 for none
   std::chrono::milliseconds stepLimit = std::chrono::seconds( 10 );  // to add or read one object

   // How long an object that killed its worker is left alone, at first; each time twice as long.
   std::chrono::milliseconds firstRetry = std::chrono::seconds( 2 );

   // Workers side by side. They are to leave the service room for others of the same user.
   size_t mostLanes = 10;

   // Runs in the worker, once an object has been added and at each later reading.
   ReadObject readObject = readAsKind;

   // Runs in each worker, before anything else does.
   std::function< void() > beginWorker = [] {};

   // Hears the library's traces of level 0, each with the object that was busy; null for none.
   std::function< void( size_t object, const std::string& line ) > hearTrace = {};
};

// The parent's side: a board's objects in the driver library, held by the workers of several lanes.
// An object that killed its worker, or whose chip may have lost what it was told, is tried again in
// a worker of its own, now and then, and comes back to its lane when that went well. As that sets
// up the chip, all other objects of the chip are made anew with it.
class Session {
 public:
   // Library and board must outlive the session.
   Session( const DriverLibrary& library, const Board& board, SessionOptions options );
   Session( const Session& ) = delete;
   Session& operator=( const Session& ) = delete;

   // What an object is set to once it has been added, from the next worker on.
   void settingIs( size_t object, const Setting& setting ) {
      context_.task.settings[ object ] = trialContext_.task.settings[ object ] = setting;
   }

   // Reads every object once, in the board's order. The workers stay alive between calls and run
   // the library's timers.
   const std::vector< Observation >& read();

   // The same in steps, for a caller that has other things to do meanwhile: begin() starts a sweep
   // in each lane that has none under way. await() carries the sweeps on until something was
   // observed, the last of them is over, a signal came, the descriptor is readable (-1: there is
   // none), or the time is over.
   void begin();
   bool isBusy() const;
   void await( std::chrono::milliseconds limit, int descriptor = -1 );

   // Of each object the latest observation, in the board's order; State::Pending before the first.
   const std::vector< Observation >& latest() const { return latest_; }

 private:
   struct Trial {
      Lane& home;
      std::set< size_t > objects;
      Lane lane;
      std::map< size_t, std::string > failures = {};
   };

   void tryFailed( Lane& home );
   void proceed();
   void endTrials();
   void tell( Observation observation );
   Trial& trialOf( size_t object );

   const Board& board_;
   ServiceState service_;
   LaneContext context_;
   LaneContext trialContext_;
   std::list< Lane > lanes_;
   std::list< Trial > trials_;  // at most one of each lane, and few in all
   std::optional< ChipSharing > sharing_;
   std::vector< Observation > latest_;
   size_t told_ = 0;  // observations so far
};

}  // namespace Host
