#include <malloc.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>
#include <stdexcept>

#include "Bench/Boards.h"
#include "Bench/InstantSocket.h"
#include "Bench/Measures.h"
#include "Bench/Timing.h"
#include "Components/Library.h"
#include "Topology/Topology.h"

namespace Bench {

namespace {

constexpr unsigned kSmall = 100;
constexpr unsigned kLarge = 10'000;

void load( const std::string& topology ) {
   if ( Topology::loadTopology( topology.c_str() ) != PL_STATUS_OK ) {
      throw std::runtime_error( "a topology cannot be loaded" );
   }
}

uint32_t nextDids( unsigned devices ) {
   static uint32_t next = 1000;
   uint32_t first = next;
   next += devices;
   return first;
}

// Microseconds per object: kSmall objects, spread over a fresh board.
double timeAdding( unsigned devices ) {
   uint32_t firstDid = nextDids( devices );
   load( topologyOf( devices, firstDid ) );
   std::vector< std::string > arguments;
   for ( unsigned i = 0; i < kSmall; ++i ) {
      arguments.push_back( argumentsOf( firstDid + i * ( devices / kSmall ) ) );
   }
   auto start = Clock::now();
   for ( const std::string& each : arguments ) {
      if ( !pl_temp_sensor_add( each.c_str(), 80, 90 ) ) {
         throw std::runtime_error( "an object cannot be added" );
      }
   }
   return microseconds( Clock::now() - start ) / kSmall;
}

size_t residentBytes() {
   std::ifstream statm( "/proc/self/statm" );
   size_t total = 0;
   size_t resident = 0;
   statm >> total >> resident;
   return resident * static_cast< size_t >( sysconf( _SC_PAGESIZE ) );
}

}  // namespace

void measureTopology( Report& report ) {
   // Two texts in turns, since the same text is not loaded twice.
   const std::string texts[] = { topologyOf( kLarge, 1 ), topologyOf( kLarge, 2 ) };
   int turn = 0;
   auto [ loading, parsing ] = compare(
      10, 1, [ & ] { load( texts[ ++turn % 2 ] ); },
      [ & ] {
         rapidjson::Document document;
         document.Parse( texts[ turn % 2 ].c_str() );
      } );
   report.add( { "loading a topology of 10,000 devices", loading / 1000, "DOM parse of its text",
                 parsing / 1000, "ms", 2 } );
}

void measureAdding( Report& report ) {
   InstantSocket instant;
   double large = 1e18;
   double small = 1e18;
   for ( int round = 0; round < 20; ++round ) {
      small = std::min( small, timeAdding( kSmall ) );
      large = std::min( large, timeAdding( kLarge ) );
   }
   report.add( { "adding an object on a board of 10,000 devices", large, "on a board of 100", small,
                 "us", 1.3 } );
}

// In a process of its own, whose heap nothing else has touched since the fork.
void measureMemory( Report& report ) {
   const std::string text = topologyOf( kLarge, nextDids( kLarge ) );
   int ends[ 2 ];
   if ( pipe( ends ) < 0 ) {
      throw std::runtime_error( "no pipe" );
   }
   pid_t child = fork();
   if ( child == 0 ) {
      malloc_trim( 0 );
      size_t before = residentBytes();
      load( text );
      malloc_trim( 0 );
      size_t grown = residentBytes() - before;
      _exit( write( ends[ 1 ], &grown, sizeof grown ) != sizeof grown );
   }
   close( ends[ 1 ] );
   size_t grown = 0;
   bool known = ::read( ends[ 0 ], &grown, sizeof grown ) == sizeof grown;
   close( ends[ 0 ] );
   waitpid( child, nullptr, 0 );
   if ( !known ) {
      throw std::runtime_error( "the memory of a topology was not measured" );
   }
   report.add( { "resident memory per device", double( grown ) / kLarge,
                 "its bytes in the document", double( text.size() ) / kLarge, "bytes", 4 } );
}

}  // namespace Bench
