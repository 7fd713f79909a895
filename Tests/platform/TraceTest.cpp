#include <gmock/gmock.h>

#include <cstdlib>

#include "Tests/support/TraceLog.h"
#include "pl.h"

TEST( TraceTest, DropsLinesAboveTheLevel ) {
   Tests::TraceLog log;
   for ( int level : { -1, 0, 4, 7 } ) {
      pl_trace_level_set( level );
      EXPECT_EQ( pl_trace_level(), level );
      pl_trace( 0, "at level %d", level );
      pl_trace( 5, "%s: %02x", "detail", 10 );
   }
   EXPECT_THAT( log.lines, testing::ElementsAre( "0 at level 0", "0 at level 4", "0 at level 7",
                                                 "5 detail: 0a" ) );
}

TEST( TraceTest, LongLinesArriveWhole ) {
   Tests::TraceLog log;
   for ( size_t length : { 0u, 1022u, 1023u, 1024u, 1025u, 300000u } ) {
      std::string text( length, 'x' );
      pl_trace( 0, "<%s>", text.c_str() );
      EXPECT_EQ( log.lines.back(), "0 <" + text + '>' ) << length;
   }
}

TEST( TraceTest, GoesToStandardErrorUpToTheLevelOfTheEnvironment ) {
   auto print = []( const char* level ) {
      level ? setenv( "PL_TRACE_LEVEL", level, 1 ) : unsetenv( "PL_TRACE_LEVEL" );
      pl_trace( 0, "%s", "one line" );
      pl_trace( 6, "and another" );
      exit( 0 );
   };
   EXPECT_EXIT( print( nullptr ), testing::ExitedWithCode( 0 ), "^one line\n$" );
   EXPECT_EXIT( print( "6" ), testing::ExitedWithCode( 0 ), "^one line\nand another\n$" );
}
