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

// One round of a host's loop: the wait leads to one call.
void runNext() {
   std::this_thread::sleep_for( std::chrono::milliseconds( pl_timer_wait() ) );
   EXPECT_EQ( pl_timer_run(), 1 );
}

}  // namespace

TEST( TimerTest, FiresOnceWhenDue ) {
   std::string order;
   Callback late = [ & ] { order += "late "; };
   Callback early = [ & ] { order += "early "; };
   void* lateTimer = pl_timer_add( call, &late );
   void* earlyTimer = pl_timer_add( call, &early );
   EXPECT_EQ( pl_timer_wait(), -1 ) << "none is armed yet";
   EXPECT_EQ( pl_timer_run(), 0 );

   EXPECT_EQ( pl_timer_set( lateTimer, 60000 ), 0 );
   EXPECT_THAT( pl_timer_wait(), testing::AllOf( testing::Gt( 50000 ), testing::Le( 60000 ) ) );
   EXPECT_EQ( pl_timer_run(), 0 ) << "not due yet";
   EXPECT_EQ( pl_timer_set( earlyTimer, 10 ), 0 );
   EXPECT_LE( pl_timer_wait(), 10 );
   runNext();
   EXPECT_EQ( order, "early " );

   EXPECT_EQ( pl_timer_set( lateTimer, 0 ), 0 ) << "arming again replaces";
   EXPECT_EQ( pl_timer_wait(), 0 );
   runNext();
   EXPECT_EQ( order, "early late " );
   EXPECT_EQ( pl_timer_wait(), -1 );
}

TEST( TimerTest, CallbackMayArmItselfAndAddOthers ) {
   std::string order;
   Callback other = [ & ] { order += "other "; };
   void* timer = nullptr;
   Callback callback = [ & ] {
      order += "own ";
      pl_timer_set( timer, 0 );
      for ( int i = 0; i < 100; ++i ) {
         pl_timer_add( call, &other );
      }
      pl_timer_set( pl_timer_add( call, &other ), 0 );
   };
   timer = pl_timer_add( call, &callback );
   pl_timer_set( timer, 0 );
   EXPECT_EQ( pl_timer_run(), 1 ) << "what the callback arms waits for the next call";
   EXPECT_EQ( order, "own " );
   callback = [ & ] { order += "last "; };
   EXPECT_EQ( pl_timer_run(), 2 );
   EXPECT_EQ( order, "own last other " );
   EXPECT_EQ( pl_timer_wait(), -1 );
}

TEST( TimerTest, RefusesWhatCannotBeArmed ) {
   Callback callback = [] { FAIL(); };
   EXPECT_EQ( pl_timer_set( nullptr, 1 ), -1 );
   EXPECT_EQ( pl_timer_set( pl_timer_add( call, &callback ), -1 ), -1 );
   EXPECT_EQ( pl_timer_wait(), -1 );
}
