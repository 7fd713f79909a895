#include <dlfcn.h>
#include <gmock/gmock.h>

#include <cctype>
#include <cstring>
#include <string>

#include "Components/Led.h"
#include "Tests/support/TraceLog.h"

using namespace testing;

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
   TestLed( char itsName, std::string& log ) : name( itsName ), heard( log ) {}

   // Notes its name, in capitals in the second phase.
   bool handleBlinkTimer( bool phase ) override {
      heard += static_cast< char >( phase ? std::toupper( name ) : name );
      return !drops;
   }
   pl_status setLightSetting( pl_led_status ) override { return PL_STATUS_OK; }

   using Led::blinkPeriod_;
   using Led::blinkStatus_;
   using Led::blinkTimer_;
   using Led::notifyList_;

   const char name;
   std::string& heard;
   bool drops = false;
};

class LedBlink : public testing::Test {
 protected:
   LedBlink() {
      TestLed::createBlinkTimer();
      TestLed::blinkPeriod_ = 0;
   }

   std::string heard;
   TestLed a{ 'a', heard };
   TestLed b{ 'b', heard };
   TestLed c{ 'c', heard };
   TestLed d{ 'd', heard };
};

TEST_F( LedBlink, TickWalksTheListAndSkipsTheLedBehindADroppedOne ) {
   const std::tuple< const char*, const char*, const char*, const char* > rows[] = {
      { "abc", "", "abc", "abc" },   { "abc", "a", "ac", "bc" },  { "abc", "b", "ab", "ac" },
      { "abc", "c", "abcab", "ab" },  // behind the last one comes the first
      { "ab", "ab", "a", "b" },      { "abc", "abc", "acb", "" }, { "abcd", "bd", "abdac", "ac" },
   };
   for ( const auto& [ blinking, dropping, told, left ] : rows ) {
      SCOPED_TRACE( Message() << blinking << " dropping " << dropping );
      TestLed::notifyList_.clear();
      TestLed::blinkStatus_ = false;
      heard.clear();
      for ( TestLed* led : { &a, &b, &c, &d } ) {
         led->drops = strchr( dropping, led->name );
         if ( strchr( blinking, led->name ) ) {
            TestLed::notifyOnBlink( led );
         }
      }
      TestLed::handleBlinkTimerCallback( nullptr );
      EXPECT_EQ( heard, told );
      std::string names;
      for ( auto led : TestLed::notifyList_ ) {
         names += static_cast< TestLed* >( led )->name;
      }
      EXPECT_EQ( names, left );
   }
}

TEST_F( LedBlink, AllLedsShareOnePhaseThatEveryTickToggles ) {
   Tests::TraceLog traces;
   TestLed::createBlinkTimer();  // it exists
   TestLed::notifyOnBlink( &a );
   ASSERT_EQ( pl_timer_run(), 1 );
   TestLed::notifyOnBlink( &b );
   b.drops = true;
   ASSERT_EQ( pl_timer_run(), 1 );
   a.drops = true;
   ASSERT_EQ( pl_timer_run(), 1 );
   EXPECT_TRUE( TestLed::blinkStatus_ ) << "toggles when the list becomes empty, too";
   EXPECT_EQ( heard, "aABAa" );
   EXPECT_THAT(
      traces.lines,
      ElementsAre( "4 notifyOnBlink() adding led to blink notification list",
                   "4 handleBlinkTimerCallback() led blink timer hit notifying 1 leds",
                   "4 notifyOnBlink() adding led to blink notification list",
                   "4 handleBlinkTimerCallback() led blink timer hit notifying 2 leds",
                   "4 handleBlinkTimerCallback() led blink timer hit notifying 1 leds" ) );
}

TEST_F( LedBlink, TimerRunsWhileALedBlinks ) {
   EXPECT_EQ( pl_timer_wait(), -1 ) << "created, not armed";
   TestLed::blinkPeriod_ = 60000;
   TestLed::notifyOnBlink( &a );
   TestLed::blinkPeriod_ = 0;
   TestLed::notifyOnBlink( &b );
   EXPECT_THAT( pl_timer_wait(), AllOf( Gt( 50000 ), Le( 60000 ) ) ) << "only the first LED arms";
   TestLed::handleBlinkTimerCallback( nullptr );
   EXPECT_EQ( pl_timer_wait(), 0 ) << "armed again, with the period of now";
   TestLed::notifyList_.clear();
   EXPECT_EQ( pl_timer_run(), 1 );
   EXPECT_EQ( pl_timer_wait(), -1 ) << "idle once the list was empty at a tick";
   TestLed::notifyOnBlink( &a );
   EXPECT_EQ( pl_timer_wait(), 0 );
}

TEST( Led, BlinksOnceASecondAndNamesEveryStatus ) {
   EXPECT_EQ( TestLed::blinkPeriod_, 1000 );
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
