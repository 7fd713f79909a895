#include "Host/Commands/Confirm.h"

#include <unistd.h>

#include <cstdio>

#include "Host/Session/UseError.h"
#include "Utils/Text.h"

namespace Host {

bool isAgreed( const std::string& question, const std::string& why ) {
   if ( !isatty( STDIN_FILENO ) ) {
      throw UseError( why + ": nobody can be asked, give --yes" );
   }
   fputs( ( Utils::printable( question ) + " [y/N] " ).c_str(), stderr );
   char answer[ 16 ];
   return fgets( answer, sizeof answer, stdin ) && ( *answer == 'y' || *answer == 'Y' );
}

}  // namespace Host
