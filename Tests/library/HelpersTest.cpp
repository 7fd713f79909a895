#include <gmock/gmock.h>
#include <sys/resource.h>

#include <chrono>
#include <cstdlib>
#include <memory>

#include "Components/Gpio.h"
#include "Drivers/Helpers.h"
#include "Tests/support/FakeDevice.h"
#include "Tests/support/TraceLog.h"
#include "Topology/Topology.h"

using ::testing::ElementsAre;

namespace {

TEST( FormatFdl, FillsEveryPlaceholderOfAKey ) {
   Tests::TraceLog traces;
   Drivers::FormatFdl fdl( "A{k}B{k} {x{x}}{serialNum}" );
   fdl.start();
   EXPECT_TRUE( fdl.set( "k", "{serialNum}" ) );
   fdl.set( "serialNum", "7" );
   fdl.set( "x", "" );  // what completes a placeholder is found from the start
   EXPECT_STREQ( fdl.charPtr(), "A7B7 7" );
   EXPECT_THAT( traces.lines, ElementsAre( "5 FormatFdl::set( 'k', '{serialNum}' )",
                                           "5 FormatFdl::set( 'serialNum', '7' )",
                                           "5 FormatFdl::set( 'x', '' )" ) );
   fdl.start();
   EXPECT_EQ( fdl.str(), "A{k}B{k} {x{x}}{serialNum}" );
}

TEST( FormatFdlDeathTest, InsistsOnTheOrderOfCallsAndOnKnownKeys ) {
   Drivers::FormatFdl fdl( "{k}" );
   EXPECT_DEATH( fdl.set( "k", "x" ),
                 R"(Drivers/Helpers.cpp.*FormatFdl: Must call start\(\) before set\(\.\.\.\))" );
   EXPECT_DEATH( fdl.str(), R"(FormatFdl: Must call start\(\) before str\(\))" );
   EXPECT_DEATH( fdl.charPtr(), R"(FormatFdl: Must call start\(\) before charPtr\(\))" );
   fdl.start();
   EXPECT_DEATH( fdl.set( "K", "x" ),
                 "Error: FormatFdl::set -- invalid key '\\{K\\}'\n"
                 ".*FormatFdl::set.*Invalid key in FormatFdl::set" );
   fdl.str();
   EXPECT_DEATH( fdl.set( "k", "x" ), "before set" );
}

TEST( RunCmd, ReportsHowTheCommandEndedAndKeepsItsOutput ) {
   const std::tuple< const char*, pl_status, std::string > rows[] = {
      { "printf '%0300d' 0", PL_STATUS_OK, std::string( 300, '0' ) },
      { "sh -c 'echo partly; exit 3'", PL_STATUS_FAILURE, "partly\n" },
      { "true; kill -KILL $$", PL_STATUS_FAILURE, "" },  // the shell that popen() started
      { "sh -c 'exit 124'", PL_STATUS_IO_ERROR, "" },
      { "sh -c 'echo started; sleep 30'", PL_STATUS_IO_ERROR, "started\n" },
      { "echo first; sleep 30", PL_STATUS_IO_ERROR, "first\n" },
      { "sh -c 'echo behind; sleep 30 &'", PL_STATUS_IO_ERROR, "behind\n" },
      { "true; exec >&-; sleep 30", PL_STATUS_IO_ERROR, "" },
   };
   for ( const auto& [ command, status, expected ] : rows ) {
      std::string output = "of an earlier command";
      auto start = std::chrono::steady_clock::now();
      EXPECT_EQ( Drivers::runCmd( command, output, 1 ), status ) << command;
      EXPECT_EQ( output, expected ) << command;
      EXPECT_LT( std::chrono::steady_clock::now() - start, std::chrono::seconds( 10 ) );
   }
}

TEST( RunCmd, FailsWhileNothingCanBeStarted ) {
   std::string output;
   ASSERT_EQ( Drivers::runCmd( "echo on", output, 1 ), PL_STATUS_OK );
   rlimit before{};
   getrlimit( RLIMIT_NOFILE, &before );
   rlimit none{ 0, before.rlim_max };
   setrlimit( RLIMIT_NOFILE, &none );
   EXPECT_EQ( Drivers::runCmd( "echo on", output, 1 ), PL_STATUS_FAILURE );
   setrlimit( RLIMIT_NOFILE, &before );
   EXPECT_EQ( output, "" );
}

TEST( InsertDriverArg, AppendsOneMemberAndWritesCompactAscii ) {
   const std::pair< const char*, const char* > rows[] = {
      { R"( { "did" : 1 , "driverArgs" : { } , "f": 2.5 } )",
        R"({"did":1,"driverArgs":{"k":"v \"1\""},"f":2.5})" },
      { "{\"driverArgs\":{\"k\":\"\u00e9\U0001F600\"}}",
        R"({"driverArgs":{"k":"\u00E9\uD83D\uDE00","k":"v \"1\""}})" },
   };
   for ( const auto& [ before, after ] : rows ) {
      char* text = nullptr;
      ASSERT_TRUE( Drivers::insertDriverArg( before, &text, "k", "v \"1\"" ) );
      EXPECT_STREQ( text, after );
      free( text );
   }
}

TEST( InsertDriverArg, ReportsMalformedTextAndRefusesOtherShapes ) {
   const std::tuple< const char*, const char*, const char*, std::string > rows[] = {
      { "{ \"a\" }", "k", "v",
        "parse psu devArgs: Missing a colon after a name of object member. offset 6" },
      { R"({"driverArgs":{}})", "\xff", "v", "insert driver argument: the key is not valid UTF-8" },
      { R"({"driverArgs":{}})", "k", "\xff",
        "insert driver argument: the value is not valid UTF-8" },
      { "{\"driverArgs\":{},\"a\":\"\xff\"}", "k", "v",
        "insert driver argument: the document is not valid UTF-8" },
   };
   char untouched[] = "untouched";
   char* text = untouched;
   for ( const auto& [ document, key, value, failure ] : rows ) {
      Tests::TraceLog traces;
      EXPECT_FALSE( Drivers::insertDriverArg( document, &text, key, value ) );
      EXPECT_THAT( traces.lines, ElementsAre( "0 failed to " + failure ) );
   }
   EXPECT_EQ( text, untouched );
   EXPECT_DEATH( Drivers::insertDriverArg( "{}", &text, "k", "v" ),
                 R"(Drivers/Helpers.cpp.*`document\.HasMember\( "driverArgs" \)')" );
   EXPECT_DEATH( Drivers::insertDriverArg( R"({"driverArgs":null})", &text, "k", "v" ),
                 R"(IsObject\(\))" );
}

TEST( DeviceByLabel, IsCreatedOnceWithTheDefaultDriverWhereNoneIsNamed ) {
   ASSERT_EQ( Topology::loadTopology( R"([ { "type": "LinuxFs", "ham": "", "devices": [
      { "label": "plain", "driver": null, "did": 1, "provideHam": 0, "address": { "address": 80 } },
      { "label": "gpio", "driver": null, "did": 2, "provideHam": 0, "address": { "address": 80 } },
      { "label": "bad", "driver": "No", "did": 3, "provideHam": 0, "address": { "address": 80 } },
      { "label": "notInline", "did": 4 } ] } ])" ),
              PL_STATUS_OK );
   auto driverOf = []( const char* label ) {
      return Topology::getDeviceByLabel( label )->args->driver;
   };
   auto plain = Drivers::getHardwareDeviceByLabel( "plain", "GpioDriver" );
   EXPECT_EQ( Drivers::getHardwareDeviceByLabel( "plain", "Dummy" ), plain );
   EXPECT_EQ( driverOf( "plain" ), "GpioDriver" );
   std::unique_ptr< Component::LogicalDevice::Gpio > gpio(
      Drivers::getRegGpioForDevice( "gpio", 1, 0 ) );
   EXPECT_EQ( driverOf( "gpio" ), "Dummy" );

   EXPECT_DEATH( Drivers::getHardwareDeviceByLabel( "missing", "Dummy" ),
                 "Unable to locate device missing\n.*Drivers/Helpers.cpp.*`device'" );
   EXPECT_DEATH( Drivers::getHardwareDeviceByLabel( "notInline", "Dummy" ), "`device->args'" );
   EXPECT_DEATH( Drivers::getHardwareDeviceByLabel( "bad", "Dummy" ),
                 "driver No not found(\n.*)*Drivers/Helpers.cpp.*`dev'" );
}

TEST( RegGpioForDevice, DrivesTheBitOfTheRegister ) {
   Tests::FakeHam ham;
   ham.load( 0x10, "a0" );
   std::unique_ptr< Component::LogicalDevice::Gpio > gpio(
      Drivers::getRegGpioForDevice( Tests::createDevice( "Dummy", ham ), 0x10, 3 ) );
   EXPECT_EQ( gpio->bitSet(), PL_STATUS_OK );
   EXPECT_THAT( ham.log, ElementsAre( "R8 10", "W8 10=a8" ) );

   struct : Component::HardwareDevice {
      Component::LogicalDevice::Gpio* newGpio( const DriverArgs& ) override { return nullptr; }
   } without;
   EXPECT_DEATH( Drivers::getRegGpioForDevice( &without, 1, 1 ), "Drivers/Helpers.cpp.*`gpio'" );
}

TEST( Trim, StripsBlanksAndTabsOnly ) {
   EXPECT_EQ( Drivers::trim( " \ta \t b\t " ), "a \t b" );
   EXPECT_EQ( Drivers::trim( "\nab\r\n" ), "\nab\r\n" );
   EXPECT_EQ( Drivers::trim( " \t \t" ), "" );
}

TEST( ZeroChecksum, AddsTheBytesModulo256 ) {
   for ( std::string bytes : { "", "\x01\xff", "\x80\x80\x80\x80\x80\x80\x01\xff" } ) {
      EXPECT_TRUE( Drivers::zeroChecksum( bytes ) );
      bytes += '\x01';
      EXPECT_FALSE( Drivers::zeroChecksum( bytes ) );
   }
}

}  // namespace
