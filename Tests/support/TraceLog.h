#pragma once

#include <cerrno>
#include <string>
#include <utility>
#include <vector>

#include "pl_host.h"

namespace Tests {

// Collects every trace line, as "level text", and its format for as long as it lives.
class TraceLog {
 public:
   TraceLog() {
      pl_trace_level_set( 9 );
      pl_trace_sink_set( collect, this );
   }
   ~TraceLog() {
      pl_trace_sink_set( nullptr, nullptr );
      pl_trace_level_set( 0 );
   }
   TraceLog( const TraceLog& ) = delete;
   TraceLog& operator=( const TraceLog& ) = delete;

   // What was collected since the last call.
   std::vector< std::string > take() { return std::exchange( lines, {} ); }

   std::vector< std::string > lines;
   static inline std::string lastFormat;  // of the latest trace of the process

 private:
   // Leaves an errno as printing may.
   static void collect( void* user, int level, const char* text ) {
      errno = EIO;
      static_cast< TraceLog* >( user )->lines.push_back( std::to_string( level ) + " " + text );
   }
};

}  // namespace Tests
