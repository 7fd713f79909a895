#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "pl.h"
#include "pl_host.h"

namespace {

void printLine( void*, int, const char* text ) {
   fprintf( stderr, "%s\n", text );
}

int initialLevel() {
   const char* text = getenv( "PL_TRACE_LEVEL" );
   return text ? atoi( text ) : 0;
}

int& traceLevel() {
   static int level = initialLevel();
   return level;
}

pl_trace_sink traceSink = printLine;
void* traceSinkUser = nullptr;

}  // namespace

void pl_trace( int level, const char* format, ... ) {
   if ( level > traceLevel() ) {
      return;
   }
   char line[ 1024 ];
   va_list arguments;
   va_start( arguments, format );
   int length = vsnprintf( line, sizeof line, format, arguments );
   va_end( arguments );
   if ( length < static_cast< int >( sizeof line ) ) {
      traceSink( traceSinkUser, level, length < 0 ? format : line );
      return;
   }
   std::string longLine( static_cast< size_t >( length ), '\0' );
   va_start( arguments, format );
   vsnprintf( longLine.data(), longLine.size() + 1, format, arguments );
   va_end( arguments );
   traceSink( traceSinkUser, level, longLine.c_str() );
}

void pl_trace_level_set( int level ) {
   traceLevel() = level;
}

int pl_trace_level( void ) {
   return traceLevel();
}

void pl_trace_sink_set( pl_trace_sink sink, void* user ) {
   traceSink = sink ? sink : printLine;
   traceSinkUser = user;
}
