#pragma once

#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "BoardFiles/Board.h"
#include "Host/Session/DriverLibrary.h"
#include "Host/Session/Observation.h"
#include "Host/Session/SessionWorker.h"
#include "Host/Session/Worker.h"

namespace Host {

using namespace BoardFiles;

struct SessionOptions {
   std::string socket = {};  // of the SMBus service
   int traceLevel = -1;      // traces that are printed; -1 for none
   std::chrono::milliseconds stepLimit = std::chrono::seconds( 10 );  // to add or read one object

   // Runs in the worker, once an object has been added and at each later reading.
   ReadObject readObject = readAsKind;

   // Runs in each worker, before anything else does.
   std::function< void() > beginWorker = [] {};

   // Hears the library's traces of level 0, each with the object that was busy; null for none.
   std::function< void( size_t object, const std::string& line ) > hearTrace = {};
};

// The parent's side: a board's objects in the driver library, held by a worker. An object that
// kills the worker, or keeps it busy for too long, is failed from then on, unless the SMBus service
// is to blame; a fresh worker goes on without it.
class Session {
 public:
   // Library and board must outlive the session.
   Session( const DriverLibrary& library, const Board& board, SessionOptions options );

   // What an object is set to once it has been added, from the next worker on.
   void settingIs( size_t object, const Setting& setting ) { settings_[ object ] = setting; }

   // Reads every object once, in the board's order. The worker stays alive between calls and runs
   // the library's timers.
   std::vector< Observation > read();

   // The same in steps, for a caller that has other things to do meanwhile: begin() starts a sweep,
   // which await() carries on until the time is over, an object was observed, or the descriptor is
   // readable; -1 for none.
   void begin();
   bool isBusy() const { return isBusy_; }
   void await( std::chrono::milliseconds limit, int descriptor = -1 );

   // Of each object the latest observation, in the board's order; State::Pending before the first.
   const std::vector< Observation >& latest() const { return latest_; }

 private:
   struct Death {
      std::optional< size_t > object;  // that the worker was busy with
      bool started;                    // it had got as far as its objects
      std::string why;
   };
   using Found = std::vector< std::optional< Observation > >;

   std::optional< Death > sweep( Found& found );
   bool startWorker( const Found& found );
   void take( const Message& said, Found& found );
   std::string whyNotRead( size_t object, const Reading& reading ) const;
   std::string reasonFor( size_t object, const std::string& otherwise ) const;
   void fail( size_t object, const std::string& why, Found& found );
   bool serviceGone() const;
   std::string afterDeath( const Death& death, Found& found );

   const DriverLibrary& library_;
   const Board& board_;
   SessionOptions options_;
   Settings settings_;
   std::map< size_t, std::string > failed_;  // objects that are left out, and why
   std::unique_ptr< Worker > worker_;
   bool started_ = false;  // the worker has got as far as its objects
   bool holdsAll_ = true;  // but those that failed
   bool isBusy_ = false;
   std::vector< Observation > latest_;
};

}  // namespace Host
