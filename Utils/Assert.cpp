#include "Utils/Assert.h"

#include <cstdio>
#include <cstdlib>

namespace Utils {

void assertionFailed( const char* condition,
                      const char* function,
                      const char* file,
                      unsigned line ) {
   fprintf( stderr, "%s:%u: %s: Assertion `%s' failed.\n", file, line, function, condition );
   fflush( stderr );
   abort();
}

}  // namespace Utils
