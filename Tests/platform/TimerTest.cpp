#include <gmock/gmock.h>

#include <thread>

#include "pl.h"
#include "pl_host.h"

namespace {

void count( void* calls ) {
   ++*static_cast< int* >( calls );
}

int ignored = 0;
void* rearmed = nullptr;

void rearmAndAddOthers( void* ) {
   pl_timer_set( rearmed, 0 );
   for ( int i = 0; i < 100; ++i ) {
      pl_timer_set( pl_timer_add( count, &ignored ), 0 );
   }
}

}  // namespace

TEST( TimerTest, FiresOnceWhenDue ) {
   int late = 0, early = 0;
   void* lateTimer = pl_timer_add( count, &late );
   void* earlyTimer = pl_timer_add( count, &early );
   EXPECT_EQ( pl_timer_set( earlyTimer, -1 ), -1 );
   EXPECT_EQ( pl_timer_set( nullptr, 1 ), -1 );
   EXPECT_EQ( pl_timer_wait(), -1 ) << "none is armed yet";

   EXPECT_EQ( pl_timer_set( lateTimer, 60000 ), 0 );
   EXPECT_THAT( pl_timer_wait(), testing::AllOf( testing::Gt( 50000 ), testing::Le( 60000 ) ) );
   EXPECT_EQ( pl_timer_set( earlyTimer, 10 ), 0 );
   EXPECT_LE( pl_timer_wait(), 10 );
   std::this_thread::sleep_for( std::chrono::milliseconds( pl_timer_wait() ) );
   EXPECT_EQ( pl_timer_run(), 1 );
   EXPECT_EQ( early, 1 );

   EXPECT_EQ( pl_timer_set( lateTimer, 0 ), 0 ) << "arming again replaces";
   EXPECT_EQ( pl_timer_wait(), 0 );
   EXPECT_EQ( pl_timer_run(), 1 );
   EXPECT_EQ( late, 1 );
   EXPECT_EQ( pl_timer_wait(), -1 );
}

TEST( TimerTest, CallbackMayArmItselfAndAddOthers ) {
   rearmed = pl_timer_add( rearmAndAddOthers, nullptr );
   pl_timer_set( rearmed, 0 );
   EXPECT_EQ( pl_timer_run(), 1 ) << "what the callback arms waits for the next call";
   EXPECT_EQ( pl_timer_run(), 101 );
}
