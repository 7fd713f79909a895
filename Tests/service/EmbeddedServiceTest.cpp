#include <gmock/gmock.h>
#include <signal.h>
#include <sys/wait.h>

#include "SmbusService/EmbeddedService.h"
#include "Tests/service/Support.h"

using namespace Tests;
using namespace SmbusService;

namespace {

bool isRemoved( const std::string& path ) {
   return !std::filesystem::exists( std::filesystem::path( path ).parent_path() );
}

}  // namespace

TEST( EmbeddedServiceTest, ServesUntilItsEnd ) {
   BoardFolder folder;
   std::string path;
   {
      EmbeddedService service( folder.path() );
      path = service.path();
      EXPECT_EQ( RawClient( path ).ask( kReading ), kReadingReply );
      if ( fork() == 0 ) {
         service.~EmbeddedService();  // a copy of the object in a child of the owner's
         _exit( 0 );
      }
      wait( nullptr );
      EXPECT_EQ( RawClient( path ).ask( kReading ), kReadingReply );
   }
   EXPECT_EQ( wait( nullptr ), -1 ) << "no child is left";
   EXPECT_TRUE( isRemoved( path ) );
   EXPECT_THROW( EmbeddedService( "/nonexistent" ), std::runtime_error );
}

TEST( EmbeddedServiceTest, OutlivesAnInterruptButNotItsOwner ) {
   BoardFolder folder;
   constexpr int kFromTheTerminal[] = { SIGINT, SIGQUIT, SIGHUP };
   int ends[ 2 ];
   ASSERT_EQ( pipe( ends ), 0 );
   pid_t owner = fork();
   if ( owner == 0 ) {
      setpgid( 0, 0 );
      EmbeddedService service( folder.path() );
      for ( int number : kFromTheTerminal ) {
         signal( number, SIG_IGN );
      }
      EXPECT_GT( write( ends[ 1 ], service.path().data(), service.path().size() ), 0 );
      pause();
   }
   char path[ 256 ] = {};
   ASSERT_GT( read( ends[ 0 ], path, sizeof path ), 0 );
   for ( int number : kFromTheTerminal ) {
      kill( -owner, number );
   }
   EXPECT_EQ( RawClient( path ).ask( kReading ), kReadingReply );
   kill( owner, SIGKILL );
   waitpid( owner, nullptr, 0 );
   EXPECT_TRUE( eventually( [ & ] { return isRemoved( path ); } ) );
}
