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
   Drivers::FormatFdl fdl( "A{k}B{k} {serialNum}" );
   fdl.start();
   EXPECT_TRUE( fdl.set( "k", "{serialNum}" ) );
   EXPECT_TRUE( fdl.set( "serialNum", "7" ) );
   EXPECT_STREQ( fdl.charPtr(), "A7B7 7" );
   EXPECT_THAT( traces.lines, ElementsAre( "5 FormatFdl::set( 'k', '{serialNum}' )",
                                           "5 FormatFdl::set( 'serialNum', '7' )" ) );
   fdl.start();
   fdl.set( "k", "x" );
   EXPECT_EQ( fdl.str(), "AxBx {serialNum}" );

   Drivers::FormatFdl nested( "x{k{k}}" );
   nested.start();
   nested.set( "k", "" );
   EXPECT_EQ( nested.str(), "x" ) << "searched from the start after each replacement";
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
   EXPECT_DEATH( fdl.str(), "before str" );
   EXPECT_DEATH( fdl.set( "k", "x" ), "before set" );
}

TEST( RunCmd, ReportsHowTheCommandEndedAndKeepsItsOutput ) {
   struct Row {
      const char* command;
      pl_status status;
      std::string output;
   };
   const Row rows[] = {
      { "echo hello", PL_STATUS_OK, "hello\n" },
      { "printf '%0300d' 0", PL_STATUS_OK, std::string( 300, '0' ) },
      { "false", PL_STATUS_FAILURE, "" },
      { "sh -c 'echo partly; exit 3'", PL_STATUS_FAILURE, "partly\n" },
      { "sh -c 'kill -KILL $$'", PL_STATUS_FAILURE, "" },
      { "true; kill -KILL $$", PL_STATUS_FAILURE, "" },  // the shell that popen() started
      { "sh -c 'exit 124'", PL_STATUS_IO_ERROR, "" },
      { "sh -c 'echo started; sleep 30'", PL_STATUS_IO_ERROR, "started\n" },
   };
   for ( const Row& row : rows ) {
      std::string output = "of an earlier command";
      auto start = std::chrono::steady_clock::now();
      EXPECT_EQ( Drivers::runCmd( row.command, output, 1 ), row.status ) << row.command;
      EXPECT_EQ( output, row.output ) << row.command;
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
   EXPECT_EQ( output, "" );
   setrlimit( RLIMIT_NOFILE, &before );
   EXPECT_EQ( Drivers::runCmd( "echo on", output, 1 ), PL_STATUS_OK );
}

TEST( InsertDriverArg, AppendsOneMemberAndWritesCompactAscii ) {
   struct Row {
      const char* before;
      const char* after;
   };
   const Row rows[] = {
      { R"( { "did" : 1 , "driverArgs" : { } , "f": 2.5 } )",
        R"({"did":1,"driverArgs":{"k":"v \"1\""},"f":2.5})" },
      { R"({"driverArgs":{"a":1,"b":null}})", R"({"driverArgs":{"a":1,"b":null,"k":"v \"1\""}})" },
      { R"({"driverArgs":{"k":"old"}})", R"({"driverArgs":{"k":"old","k":"v \"1\""}})" },
      { "{\"driverArgs\":{\"n\":\"\u00e9\U0001F600\"}}",
        R"({"driverArgs":{"n":"\u00E9\uD83D\uDE00","k":"v \"1\""}})" },
   };
   for ( const Row& row : rows ) {
      char* text = nullptr;
      ASSERT_TRUE( Drivers::insertDriverArg( row.before, &text, "k", "v \"1\"" ) );
      EXPECT_STREQ( text, row.after );
      free( text );
   }
}

TEST( InsertDriverArg, ReportsMalformedTextAndRefusesOtherShapes ) {
   Tests::TraceLog traces;
   char untouched[] = "untouched";
   char* text = untouched;
   EXPECT_FALSE( Drivers::insertDriverArg( "{ \"a\" }", &text, "k", "v" ) );
   EXPECT_FALSE( Drivers::insertDriverArg( "{\"driverArgs\":{}}", &text, "\xff", "v" ) );
   EXPECT_FALSE( Drivers::insertDriverArg( "{\"driverArgs\":{}}", &text, "k", "\xff" ) );
   EXPECT_FALSE(
      Drivers::insertDriverArg( "{\"driverArgs\":{},\"a\":\"\xff\"}", &text, "k", "v" ) );
   EXPECT_EQ( text, untouched );
   auto invalid = []( const std::string& what ) {
      return "0 failed to insert driver argument: the " + what + " is not valid UTF-8";
   };
   EXPECT_THAT( traces.lines,
                ElementsAre( "0 failed to parse psu devArgs: Missing a colon after a name of "
                             "object member. offset 6",
                             invalid( "key" ), invalid( "value" ), invalid( "document" ) ) );
   EXPECT_DEATH( Drivers::insertDriverArg( "{}", &text, "k", "v" ),
                 R"(Drivers/Helpers.cpp.*`document\.HasMember\( "driverArgs" \)')" );
   EXPECT_DEATH( Drivers::insertDriverArg( R"({"driverArgs":null})", &text, "k", "v" ),
                 R"(IsObject\(\))" );
}

class DeviceByLabel : public testing::Test {
 protected:
   DeviceByLabel() {
      std::string devices;
      for ( const char* device : { R"("label": "plain", "driver": null, "did": 1)",
                                   R"("label": "gpios", "driver": "GpioDriver", "did": 2)",
                                   R"("label": "bad", "driver": "NoSuch", "did": 3)" } ) {
         devices +=
            std::string( "{ " ) + device + R"(, "provideHam": 0, "address": { "address": 80 } }, )";
      }
      std::string json = R"([ { "type": "LinuxFs", "ham": "", "devices": [ )" + devices +
                         R"({ "label": "notInline", "did": 4 } ] } ])";
      EXPECT_EQ( Topology::loadTopology( json.c_str() ), PL_STATUS_OK );
   }

   static const std::string& driverOf( const char* label ) {
      return Topology::getDeviceByLabel( label )->args->driver;
   }
};

TEST_F( DeviceByLabel, IsCreatedOnceWithTheDefaultDriverWhereNoneIsNamed ) {
   auto plain = Drivers::getHardwareDeviceByLabel( "plain", "GpioDriver" );
   EXPECT_EQ( driverOf( "plain" ), "GpioDriver" );
   EXPECT_EQ( Drivers::getHardwareDeviceByLabel( "plain", "Dummy" ), plain );
   EXPECT_EQ( driverOf( "plain" ), "GpioDriver" );
   EXPECT_NE( Drivers::getHardwareDeviceByLabel( "gpios", "Dummy" ), plain );
   EXPECT_EQ( driverOf( "gpios" ), "GpioDriver" );

   Topology::getDeviceByLabel( "plain" )->args->driver.clear();
   std::unique_ptr< Component::LogicalDevice::Gpio > gpio(
      Drivers::getRegGpioForDevice( "plain", 1, 0 ) );
   EXPECT_EQ( driverOf( "plain" ), "Dummy" );
}

TEST_F( DeviceByLabel, ThatCannotBeHadEndsTheProcess ) {
   EXPECT_DEATH( Drivers::getHardwareDeviceByLabel( "missing", "Dummy" ),
                 "Unable to locate device missing\n.*Drivers/Helpers.cpp.*`device'" );
   EXPECT_DEATH( Drivers::getHardwareDeviceByLabel( "notInline", "Dummy" ), "`device->args'" );
   EXPECT_DEATH( Drivers::getHardwareDeviceByLabel( "bad", "Dummy" ),
                 "driver NoSuch not found(\n.*)*Drivers/Helpers.cpp.*`dev'" );
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
   const std::pair< const char*, const char* > rows[] = {
      { " \tab\t ", "ab" }, { "\nab\n", "\nab\n" }, { "a \t b", "a \t b" }, { " \t \t", "" },
      { "", "" },           { "\r ", "\r" },
   };
   for ( const auto& [ text, trimmed ] : rows ) {
      EXPECT_EQ( Drivers::trim( text ), trimmed );
   }
}

TEST( ZeroChecksum, AddsTheBytesModulo256 ) {
   const std::pair< const char*, bool > rows[] = {
      { "", true },    { "01ff", true }, { "01", false }, { "808080808001ff80", true },
      { "ff", false },
   };
   for ( const auto& [ digits, isZero ] : rows ) {
      std::string bytes = Tests::fromHex( digits );
      EXPECT_EQ( Drivers::zeroChecksum( bytes ), isZero ) << digits;
   }
}

}  // namespace
