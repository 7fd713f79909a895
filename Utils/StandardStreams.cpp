#include "Utils/StandardStreams.h"

#include <fcntl.h>
#include <unistd.h>

#include <initializer_list>

namespace Utils {

// open() takes the lowest number that is free.
void openStandardStreams() {
   for ( int stream : { STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO } ) {
      if ( fcntl( stream, F_GETFD ) < 0 ) {
         open( "/dev/null", stream == STDERR_FILENO ? O_WRONLY : O_RDONLY );
      }
   }
}

}  // namespace Utils
