#include <gmock/gmock.h>

#include <functional>
#include <string>
#include <thread>

#include "pl.h"
#include "pl_host.h"

namespace {

using Callback = std::function< void() >;

void call( void* user ) {
   ( *static_cast< Callback* >( user ) )();
}

}  // namespace

TEST( TimerTest, FiresOnceWhenDue ) {
   std::string order;
   Callback late = [ & ] { order += "late "; };
   Callback early = [ & ] { order += "early "; };
   void* lateTimer = pl_timer_add( call, &late );
   void* earlyTimer = pl_timer_add( call, &early );
   EXPECT_EQ( pl_timer_set( earlyTimer, -1 ), -1 );
   EXPECT_EQ( pl_timer_set( nullptr, 1 ), -1 );
   EXPECT_EQ( pl_timer_wait(), -1 ) << "none is armed yet";

   EXPECT_EQ( pl_timer_set( lateTimer, 60000 ), 0 );
   EXPECT_THAT( pl_timer_wait(), testing::AllOf( testing::Gt( 50000 ), testing::Le( 60000 ) ) );
   EXPECT_EQ( pl_timer_set( earlyTimer, 10 ), 0 );
   EXPECT_LE( pl_timer_wait(), 10 );
   std::this_thread::sleep_for( std::chrono::milliseconds( pl_timer_wait() ) );
   EXPECT_EQ( pl_timer_run(), 1 );
   EXPECT_EQ( order, "early " );

   EXPECT_EQ( pl_timer_set( lateTimer, 0 ), 0 ) << "arming again replaces";
   EXPECT_EQ( pl_timer_wait(), 0 );
   EXPECT_EQ( pl_timer_run(), 1 );
   EXPECT_EQ( order, "early late " );
   EXPECT_EQ( pl_timer_wait(), -1 );
}

TEST( TimerTest, CallbackMayArmItselfAndAddOthers ) {
   Callback nothing = [] {};
   void* timer = nullptr;
   Callback callback = [ & ] {
      pl_timer_set( timer, 0 );
      for ( int i = 0; i < 100; ++i ) {
         pl_timer_set( pl_timer_add( call, &nothing ), 0 );
      }
   };
   timer = pl_timer_add( call, &callback );
   pl_timer_set( timer, 0 );
   EXPECT_EQ( pl_timer_run(), 1 ) << "what the callback arms waits for the next call";
   callback = nothing;
   EXPECT_EQ( pl_timer_run(), 101 );
}
