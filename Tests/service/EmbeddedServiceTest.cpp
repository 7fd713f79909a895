#include <gmock/gmock.h>
#include <signal.h>
#include <sys/wait.h>

#include <cstdlib>
#include <filesystem>
#include <functional>

#include "SmbusService/EmbeddedService.h"
#include "Tests/service/Support.h"

using namespace Tests;
using namespace SmbusService;

namespace {

constexpr int kFromTheTerminal[] = { SIGINT, SIGQUIT, SIGHUP };

std::string readThrough( const std::string& path ) {
   RawClient client( path );
   return client.send( batchOf( { readBytes( 0x48, 0, 2 ) } ) ) ? client.receive() : "no service";
}

bool wait( const std::function< bool() >& condition ) {
   for ( int i = 0; i < 1000 && !condition(); ++i ) {
      std::this_thread::sleep_for( std::chrono::milliseconds( 10 ) );
   }
   return condition();
}

}  // namespace

TEST( EmbeddedServiceTest, ServesUntilItsEnd ) {
   BoardFolder folder( kSensorTopology, kSensorEmulation );
   std::string path;
   {
      EmbeddedService service( folder.path() );
      path = service.path();
      EXPECT_EQ( readThrough( path ), "2a80" );
      if ( fork() == 0 ) {
         service.~EmbeddedService();  // a copy of the object in a child of the owner's
         _exit( 0 );
      }
      wait( nullptr );
      EXPECT_EQ( readThrough( path ), "2a80" );
   }
   EXPECT_EQ( wait( nullptr ), -1 ) << "no child is left";
   EXPECT_FALSE( std::filesystem::exists( std::filesystem::path( path ).parent_path() ) );
   EXPECT_THROW( EmbeddedService( "/nonexistent" ), std::runtime_error );
}

TEST( EmbeddedServiceTest, OutlivesAnInterruptButNotItsOwner ) {
   BoardFolder folder( kSensorTopology, kSensorEmulation );
   int ends[ 2 ];
   ASSERT_EQ( pipe( ends ), 0 );
   pid_t owner = fork();
   if ( owner == 0 ) {
      setpgid( 0, 0 );
      for ( int number : kFromTheTerminal ) {
         signal( number, SIG_IGN );
      }
      atexit( [] { abort(); } );
      EmbeddedService service( folder.path() );
      [[maybe_unused]] ssize_t size =
         ::write( ends[ 1 ], service.path().data(), service.path().size() );
      pause();
   }
   char buffer[ 256 ];
   ssize_t size = ::read( ends[ 0 ], buffer, sizeof buffer );
   ASSERT_GT( size, 0 );
   std::string path( buffer, static_cast< size_t >( size ) );
   for ( int number : kFromTheTerminal ) {
      kill( -owner, number );
   }
   EXPECT_EQ( readThrough( path ), "2a80" );
   kill( owner, SIGKILL );
   waitpid( owner, nullptr, 0 );
   EXPECT_TRUE( wait(
      [ & ] { return !std::filesystem::exists( std::filesystem::path( path ).parent_path() ); } ) );
   close( ends[ 0 ] );
   close( ends[ 1 ] );
}
