#include <fcntl.h>
#include <gmock/gmock.h>
#include <signal.h>
#include <sys/wait.h>

#include <chrono>
#include <list>
#include <sstream>

#include "SmbusService/Log.h"
#include "Tests/service/Support.h"

using namespace Tests;
using namespace SmbusService;
using testing::HasSubstr;

TEST( LogTest, NeitherWaitsForAFullPipeNorFloodsItNorLosesALineSilently ) {
   int ends[ 2 ];
   ASSERT_EQ( pipe2( ends, O_NONBLOCK ), 0 );
   while ( write( ends[ 1 ], std::string( 4096, ' ' ).data(), 4096 ) > 0 ) {
   }
   fcntl( ends[ 1 ], F_SETFL, 0 );
   std::string text;
   {
      Log log( ends[ 1 ] );
      for ( int i = 0; i < 50'000; ++i ) {
         log.write( "always the same" );
      }
      for ( int i = 0; i < 1000; ++i ) {
         log.write( std::to_string( i ) );
      }
      auto due = std::chrono::steady_clock::now() + std::chrono::seconds( 10 );
      while ( !text.ends_with( "lost\n" ) && std::chrono::steady_clock::now() < due ) {
         char buffer[ 65536 ];
         ssize_t size = read( ends[ 0 ], buffer, sizeof buffer );
         text.append( buffer, static_cast< size_t >( std::max< ssize_t >( size, 0 ) ) );
      }
   }
   text.erase( 0, text.find( "lumen" ) );
   EXPECT_LT( std::count( text.begin(), text.end(), '\n' ), 70 );
   size_t sum = 0;
   std::istringstream lines( text );
   for ( std::string line; std::getline( lines, line ); ) {
      size_t count = 1;
      sscanf( line.c_str(), "lumen-smbusd: always the same (%zu", &count );
      sscanf( line.c_str(), "lumen-smbusd: %zu more", &count );
      sum += line.ends_with( "times)" ) || line.ends_with( "lost" ) ? count : 1;
   }
   EXPECT_EQ( sum, 51'000u ) << text;
   close( ends[ 0 ] );
   close( ends[ 1 ] );
}

TEST( ServiceProcessTest, ServesAlsoWhereNobodyReadsItsMessages ) {
   BoardFolder folder( kSensorTopology, kSensorEmulation );
   std::string path = folder.path() + "/socket";
   auto reading = batchOf( { readBytes( 0x48, 0, 2 ) } );
   for ( bool isPipe : { true, false } ) {
      int ends[ 2 ];
      ASSERT_EQ( pipe( ends ), 0 );
      int stream = isPipe ? ends[ 1 ] : open( "/dev/full", O_WRONLY );
      close( ends[ 0 ] );
      pid_t service = fork();
      if ( service == 0 ) {
         dup2( stream, STDOUT_FILENO );
         dup2( stream, STDERR_FILENO );
         execl( LUMEN_BIN_DIR "/lumen-smbusd", "lumen-smbusd", "--emulate", folder.path().c_str(),
                "--socket", path.c_str(), nullptr );
         _exit( 127 );
      }
      close( ends[ 1 ] );
      while ( !RawClient( path ).send( reading ) && waitpid( service, nullptr, WNOHANG ) == 0 ) {
         usleep( 1000 );
      }
      {
         std::list< RawClient > clients;
         for ( size_t i = 0; i <= kMaxConnections; ++i ) {
            clients.emplace_back( path ).send( reading );
         }
         EXPECT_THAT( clients.back().receive(), HasSubstr( "turns the client away" ) );
         EXPECT_EQ( clients.front().receive(), "2a80" );
      }
      kill( service, SIGTERM );
      int status = -1;
      waitpid( service, &status, 0 );
      EXPECT_EQ( status, 0 );
   }
}
