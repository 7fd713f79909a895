#include <gmock/gmock.h>

#include <cstdlib>

#include "Tests/support/TraceLog.h"
#include "pl.h"
#include "pl_host.h"

using testing::ElementsAre;
using testing::ExitedWithCode;

namespace {

class TraceTest : public testing::Test {
 protected:
   Tests::TraceLog log;
};

}  // namespace

TEST_F( TraceTest, DropsLinesAboveTheLevel ) {
   for ( int level : { -1, 0, 4, 7 } ) {
      pl_trace_level_set( level );
      EXPECT_EQ( pl_trace_level(), level );
      pl_trace( 0, "at level %d", level );
      pl_trace( 5, "%s: %02x", "detail", 10 );
   }
   EXPECT_THAT( log.lines,
                ElementsAre( "0 at level 0", "0 at level 4", "0 at level 7", "5 detail: 0a" ) );
}

TEST_F( TraceTest, LongLinesArriveWhole ) {
   for ( size_t length : { 0u, 1022u, 1023u, 1024u, 1025u, 300000u } ) {
      std::string text( length, 'x' );
      pl_trace( 0, "<%s>", text.c_str() );
      EXPECT_EQ( log.lines.back(), "0 <" + text + '>' ) << length;
   }
}

TEST_F( TraceTest, GoesToStandardErrorWithoutASink ) {
   auto print = [] {
      pl_trace_sink_set( nullptr, nullptr );
      pl_trace( 0, "%s", "one line" );
      exit( 0 );
   };
   EXPECT_EXIT( print(), ExitedWithCode( 0 ), "^one line\n$" );
}

TEST( TraceLevelTest, ComesFromTheEnvironment ) {
   GTEST_FLAG_SET( death_test_style, "threadsafe" );  // the level is read once a process
   unsetenv( "PL_TRACE_LEVEL" );
   EXPECT_EXIT( exit( pl_trace_level() ), ExitedWithCode( 0 ), "" );
   setenv( "PL_TRACE_LEVEL", "6", 1 );
   EXPECT_EXIT( exit( pl_trace_level() ), ExitedWithCode( 6 ), "" );
   unsetenv( "PL_TRACE_LEVEL" );
}
