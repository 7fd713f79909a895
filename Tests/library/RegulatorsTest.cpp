#include <gmock/gmock.h>

#include <cstdlib>
#include <limits>
#include <stdexcept>

#include "Drivers/Isl6812x.h"
#include "Ham/SimHam.h"
#include "Tests/support/SensorChip.h"
#include "Tests/support/TemporaryDirectory.h"
#include "Tests/support/TraceLog.h"

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using Tests::channel;
using Tests::DriverArguments;
using Tests::kUntouched;
using Tests::Registers;
using Tests::SensorChip;
using Lines = std::vector< std::string >;

namespace {

const Registers kIdentity = { { 0x9A, "0124" }, { 0x9B, "0103" } };

TEST( Regulators, ReportTheRawWordAsDegrees ) {
   const std::tuple< const char*, DriverArguments, const char*, uint32_t > rows[] = {
      { "IR357x", channel( "0" ), "R16 00", 0x00 },   { "IR357x", channel( "1" ), "R16 8d", 0x8D },
      { "IR357x", channel( "2" ), "R16 8e", 0x8E },   { "MpsVrm", channel( "1" ), "R16 8d", 0x8D },
      { "MpsVrm", channel( "257" ), "R16 8d", 0x8D },
   };
   for ( const auto& [ driver, args, line, command ] : rows ) {
      SensorChip chip( driver, args, kIdentity );
      for ( const auto& [ bytes, celsius ] :
            { std::pair( "3700", 55.0f ), std::pair( "0001", 256.0f ),
              std::pair( "ffff", 65535.0f ) } ) {
         chip.ham.load( command, bytes );
         float reading = kUntouched;
         EXPECT_EQ( chip.getTemperature( &reading ), PL_STATUS_OK );
         EXPECT_EQ( reading, celsius ) << driver << bytes;
      }
      chip.sensor->alertThresholdIs( 100 );
      chip.sensor->criticalThresholdIs( 110 );
      EXPECT_THAT( chip.ham.log, ElementsAre( line, line, line ) );

      Tests::TraceLog traces;
      chip.ham.failOn( line, PL_STATUS_FAILURE );
      float reading = kUntouched;
      EXPECT_EQ( chip.getTemperature( &reading ), PL_STATUS_FAILURE );
      EXPECT_EQ( reading, 0 );
      EXPECT_EQ( traces.lines.back(), "7 Error: 6 reading the temperature register" );
   }
}

TEST( Regulators, AnIR357xTellsItsModel ) {
   const std::tuple< Registers, std::string, std::string > rows[] = {
      { { { 0x9A, "0120" }, { 0x9B, "0103" } }, "5 VRM model is IR3567", "0x03" },
      { { { 0x9A, "0121" }, { 0x9B, "0100" } }, "5 VRM model is IR3563", "0x00" },
      { { { 0x9A, "0122" }, { 0x9B, "017f" } }, "5 VRM model is IR3565", "0x7f" },
      { { { 0x9A, "0123" }, { 0x9B, "0180" } }, "5 VRM model is IR3566", "0xffffff80" },
      { { { 0x9A, "0124" }, { 0x9B, "01ff" } }, "5 VRM model is IR3570A", "0xffffffff" },
      { { { 0x9A, "0125" }, { 0x9B, "0103" } }, "5 VRM model is IR3564", "0x03" },
      { { { 0x9A, "01f6" }, { 0x9B, "0103" } }, "5 Invalid high bit value f6", "0x03" },
   };
   for ( const auto& [ registers, model, revision ] : rows ) {
      Tests::TraceLog traces;
      SensorChip chip( "IR357x", channel( "1" ), registers );
      EXPECT_THAT( chip.initLog, ElementsAre( "R2 9a", "R2 9b" ) );
      EXPECT_EQ( chip.ham.batches, 1 );
      EXPECT_THAT( traces.lines, Contains( "5 Creating IR357x device" ) );
      EXPECT_THAT( traces.lines, Contains( "5 virtual void Drivers::IR357x::init(): block read to "
                                           "get model information" ) );
      EXPECT_THAT( traces.lines, Contains( model ) );
      EXPECT_THAT( traces.lines, Contains( "5 VRM revision is " + revision ) );
      EXPECT_EQ( traces.lines.back(), "5 Creating Vrm temperature sensor on channel 1" );
   }
   Tests::FakeHam silent;
   silent.failOn( "R2 9b", PL_STATUS_FAILURE );
   EXPECT_NE( Tests::createDevice( "IR357x", silent ), nullptr );
}

TEST( Regulators, AnIsl6812xSelectsItsPageBeforeEveryAccess ) {
   for ( const auto& [ args, page ] :
         { std::pair( DriverArguments(), "W8 00=00" ),
           std::pair( DriverArguments{ { "localId", "1" } }, "W8 00=01" ) } ) {
      SensorChip chip( "Isl6812x", args, { { 0x8D, "3700" }, { 0x4F, "7d00" } } );
      EXPECT_TRUE( chip.initLog.empty() );
      float celsius = kUntouched;
      EXPECT_EQ( chip.getTemperature( &celsius ), PL_STATUS_OK );
      EXPECT_EQ( celsius, 55 );
      auto& isl = chip.as< Drivers::Isl6812x >();
      using Limit = Drivers::Isl6812x::Threshold;
      EXPECT_EQ( isl.getThreshold( Limit::Critical, &celsius ), PL_STATUS_OK );
      EXPECT_EQ( celsius, 125 );
      Tests::TraceLog traces;
      chip.sensor->alertThresholdIs( 105.7f );
      chip.sensor->criticalThresholdIs( -5.5f );
      EXPECT_THAT( traces.take(), ElementsAre( "5 Alert threshold set to 105 ",
                                               "5 Critical threshold set to 65531 " ) );
      EXPECT_THAT( chip.ham.log, ElementsAre( page, "R16 8d", page, "R16 4f", page, "W16 51=6900",
                                              page, "W16 4f=fbff" ) );
   }
}

TEST( Regulators, AnIsl6812xPassesFailuresOnAndTracesAPageThatDoesNotAnswer ) {
   SensorChip chip( "Isl6812x", {}, { { 0x8D, "3700" } } );
   float celsius = kUntouched;
   Tests::TraceLog traces;
   chip.ham.failOn( "W8 00", PL_STATUS_FAILURE );
   EXPECT_EQ( chip.getTemperature( &celsius ), PL_STATUS_OK );
   EXPECT_EQ( celsius, 55 );
   EXPECT_THAT( traces.take(), ElementsAre( HasSubstr( "getTemperatureCallback" ),
                                            "6 pl_status Drivers::Isl6812x::getTemperature(float*)",
                                            "0 Failed to write to page register" ) );
   chip.ham.failOn( "R16", PL_STATUS_IO_ERROR );
   celsius = kUntouched;
   EXPECT_EQ( chip.getTemperature( &celsius ), PL_STATUS_IO_ERROR );
   EXPECT_EQ(
      chip.as< Drivers::Isl6812x >().getThreshold( Drivers::Isl6812x::Threshold::Alert, &celsius ),
      PL_STATUS_IO_ERROR );
   EXPECT_EQ( celsius, kUntouched );
   EXPECT_EQ( traces.lines.back(), "0 Failed to read threshold from register 51" );
}

TEST( Regulators, LimitsThatNoWordHoldsAreCutToTheirLowBits ) {
   constexpr float kInfinity = std::numeric_limits< float >::infinity();
   SensorChip chip( "Isl6812x" );
   for ( float celsius :
         { -0.9f, std::numeric_limits< float >::quiet_NaN(), 70000.0f, kInfinity, -kInfinity } ) {
      chip.sensor->alertThresholdIs( celsius );
   }
   std::erase( chip.ham.log, "W8 00=00" );
   EXPECT_THAT( chip.ham.log, ElementsAre( "W16 51=0000", "W16 51=0000", "W16 51=7011",
                                           "W16 51=ffff", "W16 51=0000" ) );
}

TEST( RegulatorsDeathTest, RefuseWhatTheyDoNotHave ) {
   const std::string missing = R"(args.driverArgs.find( "channel" ) != args.driverArgs.end())";
   const std::tuple< const char*, DriverArguments, std::string > rows[] = {
      { "IR357x", {}, missing },
      { "MpsVrm", {}, missing },
      { "IR357x", channel( "3" ), "`channelIsValid( channel )'" },
      { "IR357x", channel( "-1" ), "`channelIsValid( channel )'" },
      { "MpsVrm", channel( "0" ), "`channelIsValid( channel )'" },
      { "MpsVrm", channel( "2" ), "`channelIsValid( channel )'" },
   };
   for ( const auto& [ driver, args, text ] : rows ) {
      EXPECT_DEATH( SensorChip( driver, args, kIdentity ), HasSubstr( text ) ) << driver;
   }
   EXPECT_DEATH( SensorChip( "IR357x", channel( "1" ), { { 0x9A, "0224" }, { 0x9B, "0103" } } ),
                 HasSubstr( "init(): Assertion `model[ 0 ] == 0x01'" ) );
   EXPECT_DEATH( SensorChip( "IR357x", channel( "1" ), { { 0x9A, "0124" }, { 0x9B, "0003" } } ),
                 HasSubstr( "`revision[ 0 ] == 0x01'" ) );
   EXPECT_THROW( SensorChip( "MpsVrm", channel( "one" ) ), std::invalid_argument );
   EXPECT_THROW( SensorChip( "Isl6812x", { { "localId", "" } } ), std::invalid_argument );

   SensorChip chip( "Isl6812x" );
   chip.ham.failOn( "W16", PL_STATUS_FAILURE );
   EXPECT_DEATH( chip.sensor->alertThresholdIs( 1 ),
                 HasSubstr( "device_->setThreshold( Threshold::Alert, value ) == PL_STATUS_OK" ) );
   EXPECT_DEATH(
      chip.sensor->criticalThresholdIs( 1 ),
      HasSubstr( "device_->setThreshold( Threshold::Critical, value ) == PL_STATUS_OK" ) );
}

// One simulated register of each chip is changed, which must show in that reading alone.
TEST( Sensors, AllWorkOnSimulationFiles ) {
   const std::tuple< const char*, DriverArguments, uint8_t, std::string, float > rows[] = {
      { "TMP75", {}, 0x00, "f6e0", -9.125f },
      { "LM73", {}, 0x00, "fffc", -0.03125f },
      { "TMP46x", channel( "5" ), 0x05, "ec00", -40 },
      { "Max6697", channel( "1" ), 0x09, "e0", 25.875f },
      { "Max6697", channel( "7" ), 0x07, "2a", 42 },
      { "Max6658", channel( "0" ), 0x11, "60", 25.375f },
      { "Max6658", channel( "1" ), 0x01, "f6", -10 },
      { "IR357x", channel( "1" ), 0x8D, "3700", 55 },
      { "MpsVrm", channel( "1" ), 0x8D, "3700", 55 },
      { "Isl6812x", { { "localId", "1" } }, 0x8D, "3700", 55 },
   };
   Tests::TemporaryDirectory directory;
   setenv( "LUMENLIB_SIMDIR", directory.path().c_str(), 1 );
   uint32_t did = 0;
   for ( const auto& [ driver, args, reg, bytes, celsius ] : rows ) {
      Ham::SimHam ham;
      Drivers::DriverArgs deviceArgs = Tests::argumentsOf( args );
      deviceArgs.driver = driver;
      deviceArgs.did = did++;
      auto device = Component::HardwareDevice::create( deviceArgs, &ham );
      std::unique_ptr< Component::LogicalDevice::TempSensor > sensor(
         device->newTempSensor( deviceArgs ) );
      float reading = kUntouched;
      EXPECT_EQ( sensor->getTemperature( &reading ), PL_STATUS_OK ) << driver;
      EXPECT_EQ( reading, 25 ) << driver;

      sensor->alertThresholdIs( 80 );
      sensor->criticalThresholdIs( 90 );
      auto value = static_cast< uint16_t >( std::stoi( bytes, nullptr, 16 ) );
      ham.saveReg( reg );
      if ( bytes.size() == 2 ) {
         ham.addWrite8( reg, static_cast< uint8_t >( value ), false, 1 );
      } else {
         ham.addWrite16( reg, Utils::byteSwap( value ), false, 1 );
      }
      EXPECT_EQ( sensor->getTemperature( &reading ), PL_STATUS_OK ) << driver;
      EXPECT_EQ( reading, celsius ) << driver;
   }
}

}  // namespace
