#include "Fuzz/Support.h"

#include <unistd.h>

#include <algorithm>
#include <ctime>
#include <stdexcept>

#include "Utils/Assert.h"
#include "Utils/NotImplementedException.h"

namespace {

constexpr char kSeparator = 0x1E;

struct AssertionFailed {};

}  // namespace

// These stand in place of those that end the process, and wait.
void Utils::assertionFailed( const char*, const char*, const char*, unsigned ) {
   throw AssertionFailed();
}
int usleep( useconds_t ) {
   return 0;
}
int nanosleep( const timespec*, timespec* ) {
   return 0;
}

namespace Fuzz {

std::vector< std::string > partsOf( const uint8_t* data, size_t size, size_t most ) {
   std::vector< std::string > parts;
   const uint8_t* end = data + size;
   while ( parts.size() < most - 1 && std::find( data, end, kSeparator ) != end ) {
      const uint8_t* next = std::find( data, end, kSeparator );
      parts.emplace_back( data, next );
      data = next + 1;
   }
   parts.emplace_back( data, end );
   return parts;
}

bool completes( const std::function< void() >& run ) {
   try {
      run();
      return true;
   } catch ( const AssertionFailed& ) {
   } catch ( const NotImplementedException& ) {
   } catch ( const std::logic_error& error ) {
      std::string text = error.what();
      require( text.starts_with( "sto" ) || text.starts_with( "Resolution " ) ||
               text.find( "construction from null" ) != text.npos );
   }
   return false;
}

}  // namespace Fuzz
