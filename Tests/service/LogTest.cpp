#include <fcntl.h>
#include <gmock/gmock.h>

#include <list>
#include <sstream>

#include "SmbusService/Log.h"
#include "SmbusService/Server.h"
#include "Tests/endtoend/Process.h"
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
   Log log( ends[ 1 ] );
   for ( int i = 0; i < 50'000; ++i ) {
      log.write( "always the same" );
   }
   for ( int i = 0; i < 1000; ++i ) {
      log.write( "line " + std::to_string( i ) );
   }
   std::string text;
   EXPECT_TRUE( eventually( [ & ] {
      char buffer[ 4096 ];
      ssize_t size = read( ends[ 0 ], buffer, sizeof buffer );
      text.append( buffer, static_cast< size_t >( std::max< ssize_t >( size, 0 ) ) );
      return text.ends_with( "lost\n" );
   } ) );
   std::istringstream lines( text.substr( text.find( "lumen" ) ) );
   size_t sum = 0;
   for ( std::string line; std::getline( lines, line ); ) {
      size_t count = 1;
      sscanf( line.c_str(), "lumen-smbusd: always the same (%zu times)", &count );
      sscanf( line.c_str(), "lumen-smbusd: %zu more messages were lost", &count );
      sum += count;
   }
   EXPECT_EQ( sum, 51'000u ) << text;
   EXPECT_LT( std::count( text.begin(), text.end(), '\n' ), 200 );
}

TEST( ServiceProcessTest, ServesManyClientsAlsoWhereNobodyReadsItsMessages ) {
   BoardFolder folder;
   std::string path = folder.path() + "/socket";
   Process service( "bash -c 'exec lumen-smbusd --emulate " + folder.path() + " --socket " + path +
                    " >/dev/full 2> >(true)'" );
   size_t most = geteuid() ? kClients.ofUser : kClients.all;
   std::list< RawClient > clients;
   // Each is within its next frame: one that is idle might give its place up.
   auto connects = [ & ] {
      bool isSent = clients.emplace_back( path ).send( frameOf( kReading ) + '\0' );
      return isSent || ( clients.pop_back(), false );
   };
   EXPECT_TRUE( eventually( connects ) );
   while ( clients.size() <= most && connects() ) {
   }
   EXPECT_THAT(
      clients.back().receive(),
      HasSubstr( "the service turns the client away: there are " + std::to_string( most ) ) );
   EXPECT_EQ( clients.back().receive(), "closed" );
   clients.pop_back();
   for ( RawClient& client : clients ) {
      EXPECT_EQ( client.receive(), kReadingReply );
   }
   clients.clear();
   EXPECT_TRUE(
      eventually( [ & ] { return connects() && clients.back().receive() == kReadingReply; } ) );
   EXPECT_EQ( service.end( SIGTERM ).status, 0 );
}
