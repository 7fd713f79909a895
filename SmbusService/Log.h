#pragma once

#include <memory>
#include <string>

namespace SmbusService {

// Writes all of the text; returns 0 or an errno value.
int writeWhole( int descriptor, const std::string& text );

// The service's messages on one stream. Whatever becomes of the stream, they neither end nor delay
// the service, nor do they flood the stream: a thread of the log's own writes them, equal lines are
// summed up once a second, and those for which there is no room are counted.
class Log {
 public:
   explicit Log( int descriptor );
   ~Log() { finish(); }
   Log( const Log& ) = delete;
   Log& operator=( const Log& ) = delete;

   // Thread safe.
   void write( const std::string& line );

   // Nothing comes any more: waits for the last lines, but not for long. Thread safe.
   void finish();

 private:
   struct State;
   std::shared_ptr< State > state_;  // a thread that hangs in the stream outlives the log
};

}  // namespace SmbusService
