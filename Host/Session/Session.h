#pragma once

#include <chrono>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "BoardFiles/Board.h"
#include "Host/Session/DriverLibrary.h"
#include "Host/Session/Row.h"
#include "Host/Session/Setting.h"
#include "Host/Session/Worker.h"

namespace Host {

using namespace BoardFiles;

struct SessionOptions {
   std::string socket;   // of the SMBus service
   int traceLevel = -1;  // traces that are printed; -1 for none
   std::chrono::milliseconds stepLimit = std::chrono::seconds( 10 );  // to add or read one object
};

// A board's objects in the driver library, held by a worker. An object that kills the worker, or
// keeps it busy for too long, is failed from then on; a fresh worker goes on without it.
class Session {
 public:
   // Library and board must outlive the session.
   Session( const Library& library, const Board& board, SessionOptions options );

   // What an object is set to once it has been added, from the next worker on.
   void settingIs( size_t object, int setting ) { settings_[ object ] = setting; }

   // Reads every object once: one row each, in the board's order. The worker stays alive between
   // calls and runs the library's timers.
   std::vector< Row > read();

 private:
   struct Death {
      std::optional< size_t > object;  // that the worker was busy with
      bool idle;                       // it had answered an earlier read()
      std::string why;
   };
   using Rows = std::vector< std::optional< Row > >;

   // The parent's side.
   std::optional< Death > sweep( Rows& rows );
   void startWorker( const Rows& rows );
   void take( const Message& message, Rows& rows );
   bool serviceGone() const;
   std::string afterDeath( const Death& death, Rows& rows );

   // The worker's side.
   void work( const Worker::Link& link, const std::vector< size_t >& objects ) const;
   void initialise( const Worker::Link& link ) const;
   bool applySetting( const Worker::Link& link, size_t object, void* record ) const;
   void* add( const Worker::Link& link, size_t object ) const;
   void readOne( const Worker::Link& link, size_t object, void* record ) const;

   const Library& library_;
   const Board& board_;
   SessionOptions options_;
   Settings settings_;
   std::map< size_t, std::string > failed_;  // objects that are left out, and why
   std::unique_ptr< Worker > worker_;
   bool idle_ = false;     // the worker has answered
   bool holdsAll_ = true;  // but those that failed
};

}  // namespace Host
