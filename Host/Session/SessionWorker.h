#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "BoardFiles/Board.h"
#include "Host/Session/DriverLibrary.h"
#include "Host/Session/SettingOperations.h"
#include "Host/Session/Worker.h"

namespace Host {

using namespace BoardFiles;

using Settings = std::map< size_t, Setting >;  // by the object's position on the board

using ReadObject = std::function< Reading( Kind kind, void* object ) >;

inline Reading readAsKind( Kind kind, void* object ) {
   return operations( kind ).read( object );
}

// What the worker of a session tells. The number is the object's position on the board; the text of
// a failure is for the user.
enum SessionMessage : int32_t {
   kInitialising,    // no number
   kNotInitialised,  // with text; the worker ends
   kAdding,
   kNotAdded,  // with text
   kAbsent,    // not there to be added
   kReading,
   kRead,     // with status, value and text
   kNotRead,  // with text
   kAllRead,  // no number
   kTrace,    // a line of the library's, without number
   kDied,     // a child, with the status that wait() tells of it; the next request has another
};

// The worker's side of a session.
class SessionWorker {
 public:
   struct Task {
      const DriverLibrary& library;
      const Board& board;
      std::string socket;  // of the SMBus service
      Settings settings;
      ReadObject read;
      bool tellsTraces = false;
   };

   SessionWorker( const Worker::Link& link, const Task& task ) : link_( link ), task_( task ) {}

   // Reads the objects that a request names, and adds first those that it does not hold yet: new
   // ones, and those that were absent, or could not be added or set.
   void run() const;

   // The same in a child, and when that has died in another: where many objects kill, the library
   // is initialised but once.
   void runInChildren() const;

 private:
   struct Held {
      void* record = nullptr;  // null while the object is still to be added
      bool isSet = false;
   };
   using Records = std::map< size_t, Held >;
   using Request = std::vector< int32_t >;

   bool begin() const;
   bool initialise() const;
   void serve( std::optional< Request > request ) const;
   void sweep( Records& records, const Request& objects ) const;
   bool prepare( size_t object, Held& held ) const;
   void* add( size_t object ) const;
   bool applySetting( size_t object, void* record ) const;
   void read( size_t object, void* record ) const;
   std::string nameOfSetting( size_t object ) const;
   void send( SessionMessage type, size_t object = 0, std::string text = {} ) const;

   const Worker::Link& link_;
   const Task& task_;
};

}  // namespace Host
