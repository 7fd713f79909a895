#include "Host/Output/Print.h"

#include <cstdio>
#include <string>

#include "Utils/Text.h"

namespace Host {

namespace {

void write( std::string_view text, FILE* stream ) {
   fwrite( text.data(), 1, text.size(), stream );
}

}  // namespace

void print( std::string_view text ) {
   write( text, stdout );
}

void complain( std::string_view text ) {
   write( Utils::printable( text ) + "\n", stderr );
}

bool flushOutput() {
   return fflush( stdout ) == 0 && !ferror( stdout );
}

}  // namespace Host
