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

// What `measure` finds in a process of its own, whose heap nothing else has touched since the fork:
// a host loads one topology.
template < typename Measure >
double inFreshProcess( Measure measure ) {
   int ends[ 2 ];
   if ( pipe( ends ) < 0 ) {
      throw std::runtime_error( "no pipe" );
   }
   pid_t child = fork();
   if ( child == 0 ) {
      double found = measure();
      _exit( write( ends[ 1 ], &found, sizeof found ) != sizeof found );
   }
   close( ends[ 1 ] );
   double found = 0;
   bool known = ::read( ends[ 0 ], &found, sizeof found ) == sizeof found;
   close( ends[ 0 ] );
   waitpid( child, nullptr, 0 );
   if ( !known ) {
      throw std::runtime_error( "a topology was not measured" );
   }
   return found;
}

template < typename Operation >
double timeInFreshProcess( Operation operation ) {
   return inFreshProcess( [ & ] {
      auto start = Clock::now();
      operation();
      return microseconds( Clock::now() - start );
   } );
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
   const std::string text = topologyOf( kLarge, 1 );
   double loading = 1e18;
   double parsing = 1e18;
   for ( int round = 0; round < 20; ++round ) {
      loading = std::min( loading, timeInFreshProcess( [ & ] { load( text ); } ) );
      parsing = std::min( parsing, timeInFreshProcess( [ & ] {
                             rapidjson::Document document;
                             document.Parse( text.c_str() );
                          } ) );
   }
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
                 "us", 1.2 } );
}

void measureMemory( Report& report ) {
   const std::string text = topologyOf( kLarge, nextDids( kLarge ) );
   double grown = inFreshProcess( [ & ] {
      malloc_trim( 0 );
      size_t before = residentBytes();
      load( text );
      malloc_trim( 0 );
      return static_cast< double >( residentBytes() - before );
   } );
   report.add( { "resident memory per device", grown / kLarge, "its bytes in the document",
                 double( text.size() ) / kLarge, "bytes", 4 } );
}

}  // namespace Bench
