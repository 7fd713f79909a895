#include <dlfcn.h>
#include <gmock/gmock.h>

#include <cstring>
#include <string>

#include "Components/Led.h"
#include "Tests/support/TraceLog.h"

using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::Gt;
using ::testing::Le;

namespace {

bool refuseTimers = false;

}  // namespace

// Stands in front of the platform's own.
void* pl_timer_add( void ( *callback )( void* ), void* user ) {
   static auto platforms =
      reinterpret_cast< decltype( &pl_timer_add ) >( dlsym( RTLD_NEXT, "pl_timer_add" ) );
   return refuseTimers ? nullptr : platforms( callback, user );
}

namespace {

class TestLed : public Component::LogicalDevice::Led {
 public:
   TestLed( char name, std::string& heard ) : name_( name ), heard_( heard ) {}

   bool handleBlinkTimer( bool phase ) override {
      heard_ += name_;
      lastPhase = phase;
      return !drops;
   }
   pl_status setLightSetting( pl_led_status ) override { return PL_STATUS_OK; }

   using Led::blinkPeriod_;
   using Led::blinkStatus_;
   using Led::blinkTimer_;
   using Led::notifyList_;

   bool drops = false;
   bool lastPhase = false;

   char name() const { return name_; }

 private:
   char name_;
   std::string& heard_;
};

// Names of the LEDs that are still notified, in order.
std::string notified() {
   std::string names;
   for ( auto led : TestLed::notifyList_ ) {
      names += static_cast< TestLed* >( led )->name();
   }
   return names;
}

class LedBlink : public testing::Test {
 protected:
   LedBlink() {
      TestLed::notifyList_.clear();
      TestLed::blinkPeriod_ = 0;
      TestLed::createBlinkTimer();
      pl_timer_run();  // what an earlier test left armed
      TestLed::blinkStatus_ = false;
   }
   ~LedBlink() override {
      TestLed::notifyList_.clear();
      TestLed::blinkPeriod_ = period;
   }

   const int period = TestLed::blinkPeriod_;
   std::string heard;
   TestLed a{ 'A', heard };
   TestLed b{ 'B', heard };
   TestLed c{ 'C', heard };
   TestLed d{ 'D', heard };
};

TEST_F( LedBlink, TickWalksTheListAndSkipsTheLedBehindADroppedOne ) {
   struct Row {
      const char* blinking;
      const char* dropping;
      const char* heard;
      const char* left;
   };
   constexpr Row rows[] = {
      { "ABC", "", "ABC", "ABC" },     { "ABC", "A", "AC", "BC" },     { "ABC", "B", "AB", "AC" },
      { "ABC", "C", "ABCAB", "AB" },  // behind the last one comes the first
      { "A", "A", "A", "" },           { "AB", "AB", "A", "B" },       { "ABC", "ABC", "ACB", "" },
      { "ABCD", "BD", "ABDAC", "AC" }, { "ABCD", "ABCD", "AC", "BD" },
   };
   for ( const Row& row : rows ) {
      TestLed::notifyList_.clear();
      heard.clear();
      for ( TestLed* led : { &a, &b, &c, &d } ) {
         led->drops = strchr( row.dropping, led->name() );
         if ( strchr( row.blinking, led->name() ) ) {
            TestLed::notifyOnBlink( led );
         }
      }
      TestLed::handleBlinkTimerCallback( nullptr );
      EXPECT_EQ( heard, row.heard ) << row.blinking << " dropping " << row.dropping;
      EXPECT_EQ( notified(), row.left ) << row.blinking << " dropping " << row.dropping;
   }
}

TEST_F( LedBlink, AllLedsShareOnePhaseThatEveryTickToggles ) {
   TestLed::notifyOnBlink( &a );
   ASSERT_EQ( pl_timer_run(), 1 );
   EXPECT_FALSE( a.lastPhase );
   TestLed::notifyOnBlink( &b );
   b.drops = true;
   ASSERT_EQ( pl_timer_run(), 1 );
   EXPECT_TRUE( a.lastPhase );
   EXPECT_TRUE( b.lastPhase );
   a.drops = true;
   ASSERT_EQ( pl_timer_run(), 1 );
   EXPECT_FALSE( a.lastPhase );
   EXPECT_TRUE( TestLed::blinkStatus_ ) << "toggles when the list becomes empty, too";
   EXPECT_EQ( heard, "AABAA" );
}

TEST_F( LedBlink, TimerRunsWhileALedBlinks ) {
   EXPECT_EQ( pl_timer_wait(), -1 ) << "created, not armed";
   TestLed::blinkPeriod_ = 60000;
   TestLed::notifyOnBlink( &a );
   EXPECT_THAT( pl_timer_wait(), AllOf( Gt( 50000 ), Le( 60000 ) ) );
   TestLed::blinkPeriod_ = 0;
   TestLed::notifyOnBlink( &b );
   EXPECT_GT( pl_timer_wait(), 50000 ) << "only the first LED arms";

   TestLed::handleBlinkTimerCallback( nullptr );
   EXPECT_EQ( pl_timer_wait(), 0 ) << "armed again, with the period of now";
   TestLed::notifyList_.clear();
   EXPECT_EQ( pl_timer_run(), 1 );
   EXPECT_EQ( pl_timer_wait(), -1 ) << "idle once the list was empty at a tick";
   TestLed::notifyOnBlink( &a );
   EXPECT_EQ( pl_timer_wait(), 0 );
}

TEST_F( LedBlink, Traces ) {
   Tests::TraceLog traces;
   TestLed::createBlinkTimer();  // it exists
   TestLed::notifyOnBlink( &a );
   TestLed::notifyOnBlink( &b );
   TestLed::handleBlinkTimerCallback( nullptr );
   EXPECT_THAT(
      traces.take(),
      ElementsAre( "4 notifyOnBlink() adding led to blink notification list",
                   "4 notifyOnBlink() adding led to blink notification list",
                   "4 handleBlinkTimerCallback() led blink timer hit notifying 2 leds" ) );
}

TEST( Led, BlinksOnceASecond ) {
   EXPECT_EQ( TestLed::blinkPeriod_, 1000 );
}

TEST( Led, NamesEveryStatus ) {
   std::string names;
   for ( int status = PL_LED_OFF; status <= PL_LED_BEACON; ++status ) {
      names += TestLed::getLedStatusString( static_cast< pl_led_status >( status ) );
      names += ' ';
   }
   EXPECT_EQ( names, "Off Good Warning Bad Inactive Unknown Beacon " );
}

TEST_F( LedBlink, BrokenInvariantsEndTheProcess ) {
   EXPECT_DEATH( TestLed::getLedStatusString( static_cast< pl_led_status >( 7 ) ),
                 R"(Components/Led.cpp.*`\( unsigned \)status < sizeof \( strs \) / )"
                 R"(sizeof \( \*strs \)')" );
   TestLed::blinkTimer_ = nullptr;
   EXPECT_DEATH( TestLed::notifyOnBlink( &a ), "Components/Led.cpp.*`blinkTimer_'" );
   refuseTimers = true;
   EXPECT_DEATH( TestLed::createBlinkTimer(),
                 "creating unique led blink timer\nfailed to create blink timer\n"
                 ".*Components/Led.cpp.*`blinkTimer_'" );
   refuseTimers = false;
}

}  // namespace
