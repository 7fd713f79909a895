#include <fmt/format.h>
#include <gmock/gmock.h>

#include <cstdlib>
#include <functional>
#include <limits>
#include <stdexcept>

#include "Drivers/Isl6812x.h"
#include "Drivers/LM73.h"
#include "Drivers/Max6658.h"
#include "Drivers/Max6697.h"
#include "Drivers/TMP46x.h"
#include "Ham/SimHam.h"
#include "Tests/support/SensorChip.h"
#include "Tests/support/TemporaryDirectory.h"
#include "Tests/support/TraceLog.h"

using namespace Drivers;
using namespace testing;
using Tests::joined;
using Tests::kUntouched;
using Tests::SensorChip;

namespace {

constexpr float kInfinity = std::numeric_limits< float >::infinity();
constexpr float kNaN = std::numeric_limits< float >::quiet_NaN();

// Words as the HAM gives them: the chip's first byte in the low half.
TEST( Degrees, AreTruncatedAndSaturatedToRegisters ) {
   const std::tuple< float, uint16_t, uint16_t > limits[] = {
      { 255.9921875f, 0xFF7F, 0xE07F }, { -256.0f, 0x0080, 0x0080 }, { 0.009f, 0x0100, 0x0000 },
      { 0.49f, 0x3E00, 0x2000 },        { -0.009f, 0xFFFF, 0xE0FF }, { -0.001f, 0x0000, 0x0000 },
      { 300.0f, 0x0096, 0x0096 },       { kNaN, 0x0000, 0x0000 },    { kInfinity, 0xFFFF, 0xE0FF },
      { -kInfinity, 0x0000, 0x0000 },
   };
   for ( const auto& [ celsius, steps, quarters ] : limits ) {
      EXPECT_EQ( TMP46x::temperatureToRegister( celsius ), steps ) << celsius;
      EXPECT_EQ( LM73::limitToRegister( celsius ), quarters ) << celsius;
   }
}

TEST( Sensors, ProgramTheirLimitsAlertFirst ) {
   const std::tuple< const char*, std::string, float, float, std::string > rows[] = {
      { "LM73", "", 80, 100, "W16 02=3200; W16 03=2f80" },
      { "TMP46x", "channel=1", -5.5f, -0.001f, "W16 43=fd40; W16 42=0000" },
      { "Max6697", "channel=4", kNaN, 300, "W8 14=00; W8 24=2c" },
      { "Max6697", "channel=6", kInfinity, -5.5f, "W8 16=ff; W8 26=fb" },
      { "Max6697", "channel=0", 70, 80, "W8 17=46" },
      { "Isl6812x", "", 105.7f, -5.5f, "W8 00=00; W16 51=6900; W8 00=00; W16 4f=fbff" },
      { "Isl6812x", "localId=257", 70000, kInfinity,
        "W8 00=01; W16 51=7011; W8 00=01; W16 4f=ffff" },
   };
   for ( const auto& [ driver, args, alert, critical, traffic ] : rows ) {
      SensorChip chip( driver, args );
      Tests::TraceLog traces;
      chip.sensor->alertThresholdIs( alert );
      chip.sensor->criticalThresholdIs( critical );
      EXPECT_EQ( joined( chip.ham.log ), traffic ) << driver << alert << critical;
      if ( alert == 105.7f ) {
         EXPECT_THAT( traces.lines, ElementsAre( "5 Alert threshold set to 105 ",
                                                 "5 Critical threshold set to 65531 " ) );
      }
   }
}

// A chip's limit by its driver's operation, these arguments before the output.
template < typename Driver, typename... Arguments >
auto limitOf( Arguments... arguments ) {
   return [ = ]( SensorChip& chip, float* celsius ) {
      return chip.as< Driver >().getThreshold( arguments..., celsius );
   };
}

TEST( Sensors, ReadTheirLimitsBack ) {
   using Limit = std::function< pl_status( SensorChip&, float* ) >;
   using Diode = Max6658::DiodeType;
   using Max6658::Threshold::Alert;
   const std::tuple< const char*, std::string, Limit, float, std::string > rows[] = {
      { "Max6658", "07=46", limitOf< Max6658 >( Diode::remote, Alert ), 70, "R8 07" },
      { "Max6658", "05=47", limitOf< Max6658 >( Diode::local, Alert ), 71, "R8 05" },
      { "Max6658", "1f=fb", limitOf< Max6658 >( Diode::remote, Max6658::Threshold::Overtemp1 ), 251,
        "R8 1f" },
      { "TMP46x", "4b=fd40", limitOf< TMP46x >( 2, TMP46x::Threshold::Alert ), -5.5f, "R16 4b" },
      { "Isl6812x", "4f=7d00", limitOf< Isl6812x >( Isl6812x::Threshold::Critical ), 125,
        "W8 00=01; R16 4f" },
   };
   for ( const auto& [ driver, registers, limit, celsius, traffic ] : rows ) {
      SensorChip chip( driver, "channel=1; localId=1", registers );
      float reading = kUntouched;
      EXPECT_EQ( limit( chip, &reading ), PL_STATUS_OK );
      EXPECT_EQ( reading, celsius ) << driver;
      EXPECT_EQ( joined( chip.ham.log ), traffic );
   }
   SensorChip chip( "Max6697", "channel=7" );
   Tests::TraceLog traces;
   chip.sensor->criticalThresholdIs( 80 );
   float untouched;
   EXPECT_EQ( limitOf< Max6697 >( 7, Max6697::Threshold::Overheat )( chip, &untouched ),
              PL_STATUS_UNSUPPORTED );
   EXPECT_THAT( traces.lines, Each( "5 Overheat register not available for 7" ) );
   EXPECT_THAT( traces.lines, SizeIs( 2 ) );
}

TEST( Sensors, StartInOrderAndTraceWhatTheyDo ) {
   const std::tuple< const char*, std::string, std::string, std::string, std::string > rows[] = {
      { "TMP75", "", "W8 01=40", "5 Creating TMP75", "TMP75::getTemperature(float*)" },
      { "LM73", "", "W8 04=08; W8 01=40", "5 Creating LM73", "LM73::getTemperature(float*)" },
      { "LM73", "invertAlertPolarity=-3; resolution=0.03125", "W8 04=08; W8 01=50",
        "5 Creating LM73", "LM73::getTemperature(float*)" },
      { "TMP46x", "channel=4", "R16 ff; W16 c4=eb19; R16 c4",
        "0 creating TMP468; 0 TMP468 registers unlocked for write",
        "TMP46x::getTemperature(uint8_t, float*): 04" },
      { "Max6697", "channel=1", "", "5 Creating Max6697 on channel 1",
        "Max6697::getTemperature(uint8_t, float*): 01" },
      { "Max6697", "channel=263", "", "5 Creating Max6697 on channel 7",
        "Max6697::getTemperature(uint8_t, float*): 07" },
      { "Max6658", "channel=0", "W8 0a=04",
        "5 Creating Max6658 on channel 0; 0 WARNING: the internal diode of the Max6658 has a 3 "
        "degree error in its measurements\n",
        "Max6658::getTemperature(Drivers::Max6658::DiodeType, float*): 00" },
      { "IR357x", "channel=0", "R2 9a; R2 9b", "5 Creating Vrm temperature sensor on channel 0",
        "Vrm::readTemperature(uint8_t, float*): 0x00" },
      { "MpsVrm", "channel=257", "", "5 Creating MPS VRM device",
        "Vrm::readTemperature(uint8_t, float*): 0x8d" },
      { "Isl6812x", "", "", "5 Creating Isl6812x", "Isl6812x::getTemperature(float*)" },
   };
   Tests::TraceLog traces;
   for ( const auto& [ driver, args, traffic, creation, access ] : rows ) {
      SensorChip chip( driver, args );
      EXPECT_EQ( joined( chip.initLog ), traffic ) << driver;
      EXPECT_THAT( joined( traces.take() ), HasSubstr( creation ) );
      float celsius;
      chip.ham.batches = 0;
      EXPECT_EQ( chip.getTemperature( &celsius ), PL_STATUS_OK );
      EXPECT_EQ( chip.ham.batches, driver == std::string( "Isl6812x" ) ? 2 : 1 ) << driver;
      EXPECT_EQ( traces.take().back(), "6 pl_status Drivers::" + access );
   }
}

TEST( Sensors, TraceFailuresOfTheirOwn ) {
   const std::tuple< const char*, const char*, pl_status, float, const char* > rows[] = {
      { "TMP75", "R16", PL_STATUS_FAILURE, kUntouched,
        "0 Error: Failed to read temperature for TMP75 device" },
      { "MpsVrm", "R16", PL_STATUS_FAILURE, 0, "7 Error: 6 reading the temperature register" },
      { "Max6658", "none", PL_STATUS_IO_ERROR, kUntouched, "0 Diode 1 is in fault status" },
      { "Isl6812x", "R16", PL_STATUS_FAILURE, kUntouched, "6 pl_status Drivers::Isl6812x" },
      { "Isl6812x", "W8 00", PL_STATUS_OK, 55, "0 Failed to write to page register" },
   };
   Tests::TraceLog traces;
   float reading;
   for ( const auto& [ driver, step, status, celsius, trace ] : rows ) {
      SensorChip chip( driver, "channel=1", "01=80; 10=e0; 8d=3700" );
      chip.ham.failOn( step, PL_STATUS_FAILURE );
      reading = kUntouched;
      EXPECT_EQ( chip.getTemperature( &reading ), status );
      EXPECT_EQ( reading, celsius );
      EXPECT_THAT( traces.lines.back(), StartsWith( trace ) );
   }
   SensorChip isl( "Isl6812x" );
   isl.ham.failOn( "R16", PL_STATUS_IO_ERROR );
   EXPECT_EQ( limitOf< Isl6812x >( Isl6812x::Threshold::Alert )( isl, &reading ),
              PL_STATUS_IO_ERROR );
   EXPECT_EQ( traces.lines.back(), "0 Failed to read threshold from register 51" );
   SensorChip( "Max6658", "channel=1", "", 1 );  // start without their chip
   SensorChip( "IR357x", "channel=1", "", 2 );
}

TEST( Sensors, AnIR357xTellsItsModel ) {
   const std::tuple< std::string, std::string, std::string > rows[] = {
      { "0120", "0103", "VRM model is IR3567; 5 VRM revision is 0x03" },
      { "0121", "0100", "VRM model is IR3563; 5 VRM revision is 0x00" },
      { "0122", "017f", "VRM model is IR3565; 5 VRM revision is 0x7f" },
      { "0123", "0180", "VRM model is IR3566; 5 VRM revision is 0xffffff80" },
      { "0124", "01ff", "VRM model is IR3570A; 5 VRM revision is 0xffffffff" },
      { "0125", "0103", "VRM model is IR3564; 5 VRM revision is 0x03" },
      { "01f6", "0103", "Invalid high bit value f6; 5 VRM revision is 0x03" },
   };
   for ( const auto& [ model, revision, traced ] : rows ) {
      Tests::TraceLog traces;
      SensorChip chip( "IR357x", "channel=1", "9a=" + model + "; 9b=" + revision );
      std::erase_if( traces.lines, []( const std::string& line ) { return line[ 0 ] == '0'; } );
      EXPECT_THAT( joined( traces.lines ),
                   StartsWith( "5 Creating IR357x device; 5 virtual void Drivers::IR357x::init(): "
                               "block read to get model information; 5 " +
                               traced ) );
   }
}

TEST( Sensors, ALM73KeepsItsResolutionWhenTheChangeFails ) {
   using Resolution = LM73::Resolution;
   SensorChip chip( "LM73" );
   auto& lm73 = chip.as< LM73 >();
   EXPECT_EQ( lm73.setResolution( Resolution::ThirtySecondDegree ), PL_STATUS_OK );
   chip.ham.failOn( "W8 04=28", PL_STATUS_FAILURE );
   EXPECT_EQ( lm73.setResolution( Resolution::EighthDegree ), PL_STATUS_FAILURE );
   EXPECT_EQ( lm73.resolution(), Resolution::ThirtySecondDegree );
   lm73.init();
   EXPECT_THAT( chip.ham.log, ElementsAre( "W8 04=68", "W8 04=28", "W8 04=68", "W8 01=40" ) );
}

TEST( Sensors, ATMP46xIsKnownByTheLowBitsOfItsIdAndCanBeLocked ) {
   Tests::TraceLog traces;
   SensorChip( "TMP46x", "channel=8", "ff=1468" );
   EXPECT_THAT( traces.lines, Contains( "0 creating TMP1468" ) );
   SensorChip chip( "TMP46x", "channel=4", "ff=0464" );
   EXPECT_THAT( traces.lines, Contains( "0 TMP464 registers unlocked for write" ) );
   chip.load( "c4=8000" );
   EXPECT_EQ( chip.as< TMP46x >().lockRegister(), PL_STATUS_OK );
   EXPECT_THAT( chip.ham.log, ElementsAre( "W16 c4=5ca6", "R16 c4" ) );
}

TEST( Sensors, AcceptWhatTheirArgumentsAllow ) {
   for ( const auto& [ text, steps ] :
         { std::pair( "0.25", 0 ), { "0.125", 1 }, { "0.0625", 2 }, { "0.06 K", 2 } } ) {
      SensorChip chip( "LM73", std::string( "resolution=" ) + text );
      EXPECT_EQ( static_cast< int >( chip.as< LM73 >().resolution() ), steps ) << text;
   }
   const std::tuple< const char*, std::string, std::string > invalid[] = {
      { "LM73", "resolution=0.3", "Resolution 0.3 invalid" },
      { "LM73", "resolution=nan", "Resolution nan invalid" },
      { "LM73", "resolution=1e99", "stof" },
      { "LM73", "invertAlertPolarity=true", "stoi" },
      { "Isl6812x", "localId=", "stoi" },
   };
   for ( const auto& [ driver, args, message ] : invalid ) {
      EXPECT_THAT( [ & ] { SensorChip( driver, args ); },
                   ThrowsMessage< std::logic_error >( message ) )
         << driver;
   }
}

TEST( SensorsDeathTest, RefuseWhatTheyDoNotHaveAndChipsThatDoNotStart ) {
   const std::string missing = R"(args.driverArgs.find( "channel" ) != args.driverArgs.end())";
   const std::tuple< const char*, std::string, std::string, size_t, std::string > rows[] = {
      { "Max6697", "", "", 0, missing },
      { "Max6697", "channel=8", "", 0, "`channel <= 7'" },
      { "Max6658", "channel=2", "", 0, R"(`channel <= 1 && "invalid channel number"')" },
      { "TMP46x", "channel=5", "ff=1464", 0, "`channel <= maxChannel_'" },
      { "TMP46x", "channel=0", "ff=0469", 0,
        "virtual void Drivers::TMP46x::init() failed, Unknown deviceId: 469" },
      { "MpsVrm", "channel=2", "", 0, "`channelIsValid( channel )'" },
      { "IR357x", "", "9a=0224", 0, "init(): Assertion `model[ 0 ] == 0x01'" },
      { "IR357x", "", "9b=0003", 0, "`revision[ 0 ] == 0x01'" },
      { "TMP75", "", "", 1,
        "Failed to set converter resolution for TMP75 device\nDrivers/TMP75.cpp" },
      { "LM73", "", "", 1,
        "virtual void Drivers::LM73::init(): Assertion `result == PL_STATUS_OK'" },
      { "LM73", "", "", 2, "Assertion `result == PL_STATUS_OK'" },
      { "TMP46x", "", "", 1, "init(): Assertion `getDeviceId( &deviceId ) == PL_STATUS_OK'" },
      { "TMP46x", "", "", 2, "Assertion `res == PL_STATUS_OK'" },
      { "TMP46x", "", "", 3, "TMP46x::init(): Assertion `res == PL_STATUS_OK'" },
      { "TMP46x", "", "c4=8000", 0, "Drivers/TMP46x.cpp:" },  // its lock does not open
   };
   for ( const auto& [ driver, args, registers, failingStep, text ] : rows ) {
      EXPECT_DEATH( SensorChip( driver, args, registers, failingStep ), HasSubstr( text ) )
         << driver;
   }
   SensorChip lm73( "LM73" );
   EXPECT_DEATH( lm73.device->newTempSensor( {} ), HasSubstr( "`instance_ == __null'" ) );
   SensorChip chip( "Max6697", "channel=5", "05=ff" );
   float celsius;
   EXPECT_DEATH( chip.getTemperature( &celsius ), HasSubstr( "Incorrect diode5 value ff" ) );
}

TEST( SensorsDeathTest, ALimitThatCannotBeSetStopsTheProcess ) {
   const std::tuple< const char*, std::string, std::string > rows[] = {
      { "LM73", "value", "value" },  // has no alert limit
      { "TMP46x", "id_, Threshold::Alert, value", "id_, Threshold::Overheat, value" },
      { "Max6697", "id_, Threshold::Alert, value", "id_, Threshold::Overheat, value" },
      { "Max6658", "type_, Threshold::Alert, value", "type_, Threshold::Overtemp1, value" },
      { "Isl6812x", "Threshold::Alert, value", "Threshold::Critical, value" },
   };
   auto refused = []( const std::string& arguments ) {
      return HasSubstr( "`device_->setThreshold( " + arguments + " ) == PL_STATUS_OK'" );
   };
   for ( const auto& [ driver, alert, critical ] : rows ) {
      SensorChip chip( driver, "channel=1" );
      chip.ham.failOn( "W", PL_STATUS_FAILURE );
      EXPECT_DEATH( ( chip.sensor->alertThresholdIs( 80 ), chip.sensor->criticalThresholdIs( 90 ) ),
                    refused( alert ) )
         << driver;
      EXPECT_DEATH( chip.sensor->criticalThresholdIs( 90 ), refused( critical ) ) << driver;
   }
}

// One simulated register of each chip is changed, which must show in that reading alone.
TEST( Sensors, AllWorkOnSimulationFiles ) {
   const std::tuple< const char*, const char*, uint8_t, uint16_t, float > rows[] = {
      { "TMP75", "", 0x00, 0xE0F6, -9.125f },       { "LM73", "", 0x00, 0xFCFF, -0.03125f },
      { "TMP46x", "channel=5", 0x05, 0x80EC, -39 }, { "Max6697", "channel=1", 0x09, 0xE0, 25.875f },
      { "Max6697", "channel=7", 0x07, 0x2A, 42 },   { "Max6658", "channel=0", 0x11, 0x60, 25.375f },
      { "Max6658", "channel=1", 0x01, 0xF6, -10 },  { "IR357x", "channel=1", 0x8D, 311, 311 },
      { "MpsVrm", "channel=1", 0x8D, 311, 311 },    { "Isl6812x", "localId=1", 0x8D, 311, 311 },
   };
   Tests::TemporaryDirectory directory;
   setenv( "LUMENLIB_SIMDIR", directory.path().c_str(), 1 );
   for ( const auto& [ driver, args, reg, word, celsius ] : rows ) {
      Ham::SimHam ham;
      auto device = Tests::createDevice( driver, ham, Tests::pairsOf( args ) );
      std::unique_ptr< Component::LogicalDevice::TempSensor > sensor(
         device->newTempSensor( Tests::argumentsOf( Tests::pairsOf( args ) ) ) );
      float reading = kUntouched;
      EXPECT_EQ( sensor->getTemperature( &reading ), PL_STATUS_OK ) << driver;
      EXPECT_EQ( reading, 25 ) << driver;
      sensor->alertThresholdIs( 80 );
      sensor->criticalThresholdIs( 90 );
      ham.saveReg( reg );
      word > 0xFF ? ham.addWrite16( reg, word, false, 1 )
                  : ham.addWrite8( reg, static_cast< uint8_t >( word ), false, 1 );
      EXPECT_EQ( sensor->getTemperature( &reading ), PL_STATUS_OK ) << driver;
      EXPECT_EQ( reading, celsius ) << driver;
   }
}

}  // namespace
