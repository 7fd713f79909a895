#include "Tests/support/TraceLog.h"

#include <dlfcn.h>

#include <cstdarg>
#include <cstdio>
#include <cstdlib>

#include "pl.h"

// Stands in front of the platform's own, which does not show formats.
void pl_trace( int level, const char* format, ... ) {
   static auto platforms =
      reinterpret_cast< decltype( &pl_trace ) >( dlsym( RTLD_NEXT, "pl_trace" ) );
   Tests::TraceLog::lastFormat = format;
   char* text = nullptr;
   va_list arguments;
   va_start( arguments, format );
   int length = vasprintf( &text, format, arguments );
   va_end( arguments );
   platforms( level, "%s", length < 0 ? format : text );
   free( text );
}
