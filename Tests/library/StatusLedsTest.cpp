#include <fmt/format.h>
#include <gmock/gmock.h>

#include "Components/Led.h"
#include "Tests/support/SensorChip.h"
#include "Tests/support/TraceLog.h"

using namespace testing;
using Component::LogicalDevice::Led;

namespace {

// The blink list and the phase of the next tick.
class Blinking : public Led {
 public:
   static size_t count() { return notifyList_.size(); }
   static void tick( bool phase ) {
      blinkStatus_ = phase;
      handleBlinkTimerCallback( nullptr );
   }
};

// A driver's LED on a fake HAM whose registers are all 0xff.
class StatusLed {
 public:
   StatusLed( const std::string& driver,
              const std::string& arguments,
              const std::string& failsAtFirst = "nothing" ) {
      ham.failOn( failsAtFirst, PL_STATUS_FAILURE );
      for ( uint32_t reg : { 0x24, 0x25, 0x4B, 0x4C, 0x02, 0x03 } ) {
         ham.load( reg, "ff" );
      }
      Led::createBlinkTimer();
      auto args = Tests::pairsOf( arguments );
      led.reset( Tests::createDevice( driver, ham, args )->newLed( Tests::argumentsOf( args ) ) );
      ham.log.clear();
      ham.failNothing();
   }

   // The writes that it takes.
   template < typename Action >
   std::string writesOf( Action action ) {
      ham.log.clear();
      action();
      std::erase_if( ham.log, []( const std::string& line ) { return line[ 0 ] == 'R'; } );
      return fmt::format( "{}", fmt::join( ham.log, " " ) );
   }

   pl_status set( int status ) {
      return led->record()->ops->set_light_setting( led->record(),
                                                    static_cast< pl_led_status >( status ) );
   }

   Tests::FakeHam ham;
   std::unique_ptr< Led > led;
};

const std::string kTarn = "bank-io-0=0; bank-io-1=0; pinRed=1; pinGreen=2; bankGreen=1";
const std::string kTarnBlue = kTarn + "; pinBlue=7; bankBlue=1";

TEST( StatusLeds, ShowEverySetting ) {
   // The writes of each status from 0 on, then of a beacon's dark and lit phase. "-" is refused.
   const struct {
      const char* driver;
      std::string arguments;
      std::vector< std::string > writes;
      std::string lit;
      std::string dark;
   } rows[] = {
      { "CpuCPLD",
        "fanId=3",
        { "W8 24=ff W8 25=ff", "W8 24=fb W8 25=ff", "W8 24=fb W8 25=fb", "W8 24=ff W8 25=fb", "-",
          "-", "W8 24=ff W8 25=ff" },
        "W8 24=ff W8 25=fb",
        "W8 24=ff W8 25=ff" },
      { "TarnRearCardCPLD",
        "fanId=15; position=7",
        { "W8 4b=ff W8 4c=ff", "W8 4b=7f W8 4c=ff", "-", "W8 4b=ff W8 4c=7f", "-", "-",
          "W8 4b=ff W8 4c=ff" },
        "W8 4b=7f W8 4c=ff",
        "W8 4b=ff W8 4c=ff" },
      { "QuillonRearCardStatusLed",
        "type=status",
        { "W8 63=0f", "W8 63=0e", "W8 63=0c", "W8 63=0d", "-", "-", "W8 63=0d" },
        "W8 63=0d",
        "W8 63=0f" },
      { "TarnStatusLed",
        kTarnBlue,
        { "W8 02=ff W8 03=7f", "W8 02=ff W8 03=7b", "W8 02=fd W8 03=7b", "W8 02=fd W8 03=7f",
          "W8 02=fd W8 03=7f", "W8 02=ff W8 03=ff", "W8 02=ff W8 03=ff", "W8 02=fd W8 03=7f", "-" },
        "W8 02=ff W8 03=7f",  // the first phase shows "Off"
        "W8 02=ff W8 03=ff" },
      { "TarnStatusLed",
        kTarn,
        { "W8 02=ff W8 03=ff", "W8 02=ff W8 03=fb", "W8 02=fd W8 03=fb", "W8 02=fd W8 03=ff",
          "W8 02=fd W8 03=ff", "W8 02=ff W8 03=ff", "W8 02=fd W8 03=ff" },
        "W8 02=ff W8 03=ff",
        "W8 02=fd W8 03=ff" },
   };
   for ( const auto& row : rows ) {
      StatusLed led( row.driver, row.arguments );
      for ( int status = 0; status < static_cast< int >( row.writes.size() ); ++status ) {
         SCOPED_TRACE( fmt::format( "{} {}", row.driver, status ) );
         bool isRefused = row.writes[ status ] == "-";
         pl_status result;
         EXPECT_EQ( led.writesOf( [ & ] { result = led.set( status ); } ),
                    isRefused ? "" : row.writes[ status ] );
         EXPECT_EQ( result, isRefused ? PL_STATUS_UNSUPPORTED : PL_STATUS_OK );
      }
      EXPECT_EQ( led.set( PL_LED_BEACON ), PL_STATUS_OK );
      EXPECT_EQ( led.set( PL_LED_BEACON ), PL_STATUS_OK );
      EXPECT_EQ( Blinking::count(), 1u ) << row.driver;
      EXPECT_EQ( led.writesOf( [] { Blinking::tick( true ); } ), row.lit ) << row.driver;
      EXPECT_EQ( led.writesOf( [] { Blinking::tick( false ); } ), row.dark ) << row.driver;
      EXPECT_EQ( led.set( PL_LED_GOOD ), PL_STATUS_OK );
      EXPECT_EQ( Blinking::count(), 0u );
   }
}

// A shadow of zeros would light all others.
TEST( StatusLeds, ReadTheirRegistersLateWhereTheCpldWasSilentAtFirst ) {
   for ( const auto& [ driver, arguments, first, writes ] :
         { std::tuple( "CpuCPLD", "fanId=3", "R8 40", "W8 24=fb W8 25=ff" ),
           { "TarnRearCardCPLD", "fanId=3; position=2", "R8 01", "W8 4b=fb W8 4c=ff" } } ) {
      StatusLed led( driver, arguments, first );
      EXPECT_EQ( led.writesOf( [ & ] { EXPECT_EQ( led.set( PL_LED_GOOD ), PL_STATUS_OK ); } ),
                 writes );
   }
}

TEST( StatusLeds, TellOfFailuresAndOddSettings ) {
   const std::tuple< const char*, std::string, const char*, const char*, const char* > rows[] = {
      { "CpuCPLD", "fanId=1", "6 setting CPLD led 0 to Bad",
        "6 led 0 was given an unexpected setting 4", "6 setting CPLD led 0 to Bad" },
      { "TarnRearCardCPLD", "fanId=1; position=2",
        "LightSetting(pl_led_status): setting CPLD led 1 to Bad",
        "setLightSetting(pl_led_status): received unexpected status for led 1",
        "0 Tarn rear card driver failed to set led values" },
      { "QuillonRearCardStatusLed", "type=status",
        "6 Setting QuillonRearCardStatusLed Status Led to Bad",
        "0 QuillonRearCardStatusLed was given an unexpected setting 4",
        "0 QuillonRearCardStatusLed Status LED: status write failed." },
      { "TarnStatusLed", kTarn, "", "", "0 TarnStatusLed::StatusLed::setLightSetting failed!" },
   };
   Tests::TraceLog traces;
   for ( const auto& [ driver, arguments, setting, unexpected, failed ] : rows ) {
      StatusLed led( driver, arguments );
      led.set( PL_LED_INACTIVE );
      EXPECT_THAT( traces.take(), Contains( HasSubstr( unexpected ) ) ) << driver;
      led.ham.failOn( "W8", PL_STATUS_FAILURE );
      EXPECT_EQ( led.set( PL_LED_BAD ), PL_STATUS_FAILURE ) << driver;
      EXPECT_THAT( traces.lines, Contains( HasSubstr( setting ) ) );
      EXPECT_EQ( traces.take().back(), failed );
      EXPECT_DEATH( ( void )led.led->handleBlinkTimer( false ), "`(res|status) == PL_STATUS_OK'" );
   }
}

}  // namespace
