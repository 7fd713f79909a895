#include <gmock/gmock.h>

#include <cstdlib>
#include <limits>
#include <stdexcept>

#include "Drivers/Isl6812x.h"
#include "Drivers/LM73.h"
#include "Drivers/Max6658.h"
#include "Drivers/Max6697.h"
#include "Drivers/TMP46x.h"
#include "Drivers/TMP75.h"
#include "Ham/SimHam.h"
#include "Tests/support/SensorChip.h"
#include "Tests/support/TemporaryDirectory.h"
#include "Tests/support/TraceLog.h"

using namespace Drivers;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsSupersetOf;
using ::testing::Message;
using ::testing::ThrowsMessage;
using Tests::kUntouched;
using Tests::SensorChip;
using Lines = std::vector< std::string >;

namespace {

constexpr float kInfinity = std::numeric_limits< float >::infinity();
constexpr float kNaN = std::numeric_limits< float >::quiet_NaN();

std::string joined( const Lines& log ) {
   std::string text;
   for ( const std::string& line : log ) {
      text += ( text.empty() ? "" : "; " ) + line;
   }
   return text;
}

// Registers hold bytes in bus order.
TEST( Sensors, ReadTheirRegistersAsDegrees ) {
   const std::tuple< const char*, std::string, std::string, float, std::string > rows[] = {
      { "TMP75", "", "00=1980", 25.5f, "R16 00" },
      { "TMP75", "", "00=ffff", -0.125f, "R16 00" },
      { "LM73", "", "00=fffc", -0.03125f, "R16 00" },
      { "TMP46x", "channel=0", "00=0cc8", 25.5625f, "R16 00" },
      { "TMP46x", "channel=8", "08=ec00", -40.0f, "R16 08" },
      { "Max6697", "channel=1", "01=2a; 09=e0", 42.875f, "R8 01; R8 09" },
      { "Max6697", "channel=2", "02=2a; 09=e0", 42.0f, "R8 02" },
      { "Max6697", "channel=0", "07=7f", 127.0f, "R8 07" },
      { "Max6697", "channel=263", "07=00", 0.0f, "R8 07" },
      { "Max6658", "channel=0", "00=19; 11=20", 25.125f, "R8 00; R8 11" },
      { "Max6658", "channel=1", "01=f6; 10=60", -9.625f, "R8 01; R8 10" },
      { "IR357x", "channel=0", "00=0001", 256.0f, "R16 00" },
      { "IR357x", "channel=1", "8d=3700", 55.0f, "R16 8d" },
      { "IR357x", "channel=2", "8e=ffff", 65535.0f, "R16 8e" },
      { "MpsVrm", "channel=257", "8d=3700", 55.0f, "R16 8d" },
   };
   for ( const auto& [ driver, args, registers, celsius, traffic ] : rows ) {
      SCOPED_TRACE( Message() << driver << " " << celsius );
      SensorChip chip( driver, args );
      chip.load( registers );
      chip.ham.batches = 0;
      float reading = kUntouched;
      EXPECT_EQ( chip.getTemperature( &reading ), PL_STATUS_OK );
      EXPECT_EQ( reading, celsius );
      EXPECT_EQ( joined( chip.ham.log ), traffic );
      EXPECT_EQ( chip.ham.batches, 1 );
   }
}

// Words as the HAM gives them: the chip's first byte in the low half.
TEST( Degrees, CoverTheWholeRangeAndEveryFraction ) {
   const std::pair< uint16_t, float > eighths[] = {
      { 0x0000, 0.0f },     { 0x3F00, 0.125f },  { 0x4000, 0.25f },     { 0x6000, 0.375f },
      { 0x8000, 0.5f },     { 0xA000, 0.625f },  { 0xC000, 0.75f },     { 0xE000, 0.875f },
      { 0xE07F, 127.875f }, { 0x0080, -128.0f }, { 0x2080, -127.875f }, { 0xE0FF, -0.125f },
   };
   for ( const auto& [ word, celsius ] : eighths ) {
      EXPECT_EQ( TMP75::registerToTemperature( word ), celsius ) << word;
   }
   const std::pair< uint16_t, float > wide[] = {
      { 0x0000, 0.0f },         { 0x0100, 0.0078125f }, { 0x8000, 1.0f },
      { 0xFF7F, 255.9921875f }, { 0x0080, -256.0f },    { 0x00EC, -40.0f },
      { 0xFFFF, -0.0078125f },
   };
   for ( const auto& [ word, celsius ] : wide ) {
      EXPECT_EQ( TMP46x::registerToTemperature( word ), celsius ) << word;
      EXPECT_EQ( TMP46x::temperatureToRegister( celsius ), word ) << celsius;
   }
   const std::tuple< float, uint16_t, uint16_t > limits[] = {
      { 0.009f, 0x0100, 0x0000 },    { 0.49f, 0x3E00, 0x2000 },      { -0.009f, 0xFFFF, 0xE0FF },
      { -0.001f, 0x0000, 0x0000 },   { 300.0f, 0x0096, 0x0096 },     { kNaN, 0x0000, 0x0000 },
      { kInfinity, 0xFFFF, 0xE0FF }, { -kInfinity, 0x0000, 0x0000 },
   };
   for ( const auto& [ celsius, steps, quarters ] : limits ) {
      EXPECT_EQ( TMP46x::temperatureToRegister( celsius ), steps ) << celsius;
      EXPECT_EQ( LM73::limitToRegister( celsius ), quarters ) << celsius;
   }
}

TEST( Sensors, ProgramTheirLimitsAlertFirst ) {
   const std::tuple< const char*, std::string, float, float, std::string > rows[] = {
      { "TMP75", "", 80, 90, {} },
      { "MpsVrm", "channel=1", 80, 90, {} },
      { "LM73", "", 80, 100, "W16 02=3200; W16 03=2f80" },
      { "LM73", "", 80, -10.1f, "W16 02=fae0; W16 03=fb20" },
      { "TMP46x", "channel=0", 85, 95.5f, "W16 3a=2a80; W16 39=2fc0" },
      { "TMP46x", "channel=1", -5.5f, -0.001f, "W16 43=fd40; W16 42=0000" },
      { "TMP46x", "channel=8", kNaN, kInfinity, "W16 7b=0000; W16 7a=ffff" },
      { "Max6697", "channel=1", 95.9f, -5.5f, "W8 11=5f; W8 21=fb" },
      { "Max6697", "channel=4", kNaN, 300, "W8 14=00; W8 24=2c" },
      { "Max6697", "channel=6", kInfinity, -kInfinity, "W8 16=ff; W8 26=00" },
      { "Max6697", "channel=3", 70, 80, "W8 13=46" },
      { "Max6697", "channel=0", 70, 80, "W8 17=46" },
      { "Max6658", "channel=0", 95.9f, -5.5f, "W8 0b=5f; W8 20=fb" },
      { "Max6658", "channel=1", 70, 0.9f, "W8 0d=46; W8 1f=00" },
      { "Isl6812x", "", 105.7f, -5.5f, "W8 00=00; W16 51=6900; W8 00=00; W16 4f=fbff" },
      { "Isl6812x", "localId=257", 70000, kInfinity,
        "W8 00=01; W16 51=7011; W8 00=01; W16 4f=ffff" },
   };
   for ( const auto& [ driver, args, alert, critical, traffic ] : rows ) {
      SensorChip chip( driver, args );
      chip.sensor->alertThresholdIs( alert );
      chip.sensor->criticalThresholdIs( critical );
      EXPECT_EQ( joined( chip.ham.log ), traffic ) << driver << alert << critical;
   }
}

TEST( Sensors, ReadTheirLimitsBack ) {
   float celsius = kUntouched;
   SensorChip remote( "Max6658", "channel=1", "07=46; 1f=fb" );
   auto& max6658 = remote.as< Max6658 >();
   using Diode = Max6658::DiodeType;
   EXPECT_EQ( max6658.getThreshold( Diode::remote, Max6658::Threshold::Alert, &celsius ), 0 );
   EXPECT_EQ( celsius, 70 );
   EXPECT_EQ( max6658.getThreshold( Diode::remote, Max6658::Threshold::Overtemp1, &celsius ), 0 );
   EXPECT_EQ( celsius, 251 );
   EXPECT_EQ( max6658.getThreshold( Diode::local, Max6658::Threshold::Alert, &celsius ), 0 );
   EXPECT_THAT( remote.ham.log, ElementsAre( "R8 07", "R8 1f", "R8 05" ) );

   SensorChip seven( "Max6697", "channel=7", "17=5a" );
   auto& max6697 = seven.as< Max6697 >();
   EXPECT_EQ( max6697.getThreshold( 7, Max6697::Threshold::Alert, &celsius ), 0 );
   EXPECT_EQ( celsius, 90 );
   Tests::TraceLog traces;
   EXPECT_EQ( max6697.getThreshold( 7, Max6697::Threshold::Overheat, &celsius ),
              PL_STATUS_UNSUPPORTED );
   seven.sensor->criticalThresholdIs( 80 );
   EXPECT_THAT( traces.take(), ElementsAre( "5 Overheat register not available for 7",
                                            "5 Overheat register not available for 7" ) );

   SensorChip lm73( "LM73", {}, "02=3200" );
   EXPECT_EQ( lm73.as< LM73 >().getThreshold( &celsius ), 0 );
   EXPECT_EQ( celsius, 100 );
   SensorChip tmp( "TMP46x", "channel=2", "4b=fd40" );
   EXPECT_EQ( tmp.as< TMP46x >().getThreshold( 2, TMP46x::Threshold::Alert, &celsius ), 0 );
   EXPECT_EQ( celsius, -5.5f );
   SensorChip paged( "Isl6812x", "localId=1", "4f=7d00; 8d=3700" );
   EXPECT_EQ( paged.as< Isl6812x >().getThreshold( Isl6812x::Threshold::Critical, &celsius ), 0 );
   EXPECT_EQ( celsius, 125 );
   EXPECT_EQ( paged.getTemperature( &celsius ), 0 );
   EXPECT_EQ( celsius, 55 );
   EXPECT_THAT( paged.ham.log, ElementsAre( "W8 00=01", "R16 4f", "W8 00=01", "R16 8d" ) );
}

TEST( Sensors, StartInOrderAndTraceWhatTheyDo ) {
   const std::tuple< const char*, std::string, std::string, Lines, std::string > rows[] = {
      { "TMP75", "", "W8 01=40", { "5 Creating TMP75" }, "TMP75::getTemperature(float*)" },
      { "LM73", "", "W8 04=08; W8 01=40", { "5 Creating LM73" }, "LM73::getTemperature(float*)" },
      { "LM73",
        "invertAlertPolarity=-3; resolution=0.03125",
        "W8 04=08; W8 01=50",
        {},
        "LM73::getTemperature(float*)" },
      { "TMP46x",
        "channel=4",
        "R16 ff; W16 c4=eb19; R16 c4",
        { "0 creating TMP468", "0 TMP468 registers unlocked for write" },
        "TMP46x::getTemperature(uint8_t, float*): 04" },
      { "Max6697",
        "channel=263",
        {},
        { "5 Creating Max6697 on channel 7" },
        "Max6697::getTemperature(uint8_t, float*): 07" },
      { "Max6658",
        "channel=0",
        "W8 0a=04",
        { "5 Creating Max6658 on channel 0",
          "0 WARNING: the internal diode of the Max6658 has a 3 degree error in its "
          "measurements\n" },
        "Max6658::getTemperature(Drivers::Max6658::DiodeType, float*): 00" },
      { "IR357x",
        "channel=1",
        "R2 9a; R2 9b",
        { "5 Creating IR357x device",
          "5 virtual void Drivers::IR357x::init(): block read to get model information",
          "5 Creating Vrm temperature sensor on channel 1" },
        "Vrm::readTemperature(uint8_t, float*): 0x8d" },
      { "MpsVrm",
        "channel=1",
        {},
        { "5 Creating MPS VRM device" },
        "Vrm::readTemperature(uint8_t, float*): 0x8d" },
      { "Isl6812x", "", {}, { "5 Creating Isl6812x" }, "Isl6812x::getTemperature(float*)" },
   };
   Tests::TraceLog traces;
   for ( const auto& [ driver, args, traffic, creation, access ] : rows ) {
      SensorChip chip( driver, args );
      EXPECT_EQ( joined( chip.initLog ), traffic ) << driver;
      EXPECT_THAT( traces.take(), IsSupersetOf( creation ) );
      float celsius;
      EXPECT_EQ( chip.getTemperature( &celsius ), PL_STATUS_OK );
      EXPECT_THAT( traces.take(), ElementsAre( HasSubstr( "getTemperatureCallback" ),
                                               "6 pl_status Drivers::" + access ) );
   }
   SensorChip isl( "Isl6812x" );
   traces.take();
   isl.sensor->alertThresholdIs( 105.7f );
   isl.sensor->criticalThresholdIs( -5.5f );
   EXPECT_THAT( traces.lines, ElementsAre( "5 Alert threshold set to 105 ",
                                           "5 Critical threshold set to 65531 " ) );
}

TEST( Sensors, TraceFailuresOfTheirOwn ) {
   const std::tuple< const char*, std::string, const char*, float, const char* > rows[] = {
      { "TMP75", "", "R16", kUntouched, "0 Error: Failed to read temperature for TMP75 device" },
      { "MpsVrm", "channel=1", "R16", 0, "7 Error: 6 reading the temperature register" },
   };
   Tests::TraceLog traces;
   for ( const auto& [ driver, args, step, celsius, trace ] : rows ) {
      SensorChip chip( driver, args );
      chip.ham.failOn( step, PL_STATUS_FAILURE );
      float reading = kUntouched;
      EXPECT_EQ( chip.getTemperature( &reading ), PL_STATUS_FAILURE );
      EXPECT_EQ( reading, celsius );
      EXPECT_EQ( traces.lines.back(), trace );
   }

   float reading = kUntouched;
   SensorChip diode( "Max6658", "channel=1", "01=80; 10=e0" );
   EXPECT_EQ( diode.getTemperature( &reading ), PL_STATUS_IO_ERROR );
   EXPECT_EQ( reading, kUntouched );
   EXPECT_EQ( traces.lines.back(), "0 Diode 1 is in fault status" );

   SensorChip isl( "Isl6812x", {}, "8d=3700" );
   isl.ham.failOn( "W8 00", PL_STATUS_FAILURE );
   EXPECT_EQ( isl.getTemperature( &reading ), PL_STATUS_OK );
   EXPECT_EQ( reading, 55 );
   EXPECT_EQ( traces.lines.back(), "0 Failed to write to page register" );
   isl.ham.failOn( "R16", PL_STATUS_IO_ERROR );
   EXPECT_EQ( isl.getTemperature( &reading ), PL_STATUS_IO_ERROR );
   EXPECT_EQ( isl.as< Isl6812x >().getThreshold( Isl6812x::Threshold::Alert, &reading ),
              PL_STATUS_IO_ERROR );
   EXPECT_EQ( reading, 55 );
   EXPECT_EQ( traces.lines.back(), "0 Failed to read threshold from register 51" );
}

TEST( Sensors, ThatMayStartWithoutTheirChip ) {
   for ( const auto& [ driver, step ] :
         { std::pair( "Max6658", "W8 0a" ), std::pair( "IR357x", "R2 9b" ) } ) {
      Tests::FakeHam ham;
      ham.failOn( step, PL_STATUS_FAILURE );
      EXPECT_NE( Tests::createDevice( driver, ham ), nullptr ) << driver;
   }
}

TEST( Sensors, AnIR357xTellsItsModel ) {
   const std::tuple< std::string, std::string, std::string, std::string > rows[] = {
      { "0120", "0103", "5 VRM model is IR3567", "0x03" },
      { "0121", "0100", "5 VRM model is IR3563", "0x00" },
      { "0122", "017f", "5 VRM model is IR3565", "0x7f" },
      { "0123", "0180", "5 VRM model is IR3566", "0xffffff80" },
      { "0124", "01ff", "5 VRM model is IR3570A", "0xffffffff" },
      { "0125", "0103", "5 VRM model is IR3564", "0x03" },
      { "01f6", "0103", "5 Invalid high bit value f6", "0x03" },
   };
   for ( const auto& [ model, revision, name, traced ] : rows ) {
      Tests::TraceLog traces;
      SensorChip chip( "IR357x", "channel=1", "9a=" + model + "; 9b=" + revision );
      EXPECT_THAT( traces.lines, IsSupersetOf( { name, "5 VRM revision is " + traced } ) );
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
   chip.ham.afterWrite = [ & ]( uint32_t ) { chip.ham.load( 0xC4, "8000" ); };
   EXPECT_EQ( chip.as< TMP46x >().lockRegister(), PL_STATUS_OK );
   EXPECT_THAT( chip.ham.log, ElementsAre( "W16 c4=5ca6", "R16 c4" ) );
}

TEST( Sensors, AcceptWhatTheirArgumentsAllow ) {
   for ( const auto& [ text, steps ] :
         { std::pair( "0.25", 0 ), std::pair( "0.125", 1 ), std::pair( "0.0625", 2 ),
           std::pair( "0.03125", 3 ), std::pair( "0.06 K", 2 ) } ) {
      SensorChip chip( "LM73", std::string( "resolution=" ) + text );
      EXPECT_EQ( static_cast< int >( chip.as< LM73 >().resolution() ), steps ) << text;
   }
   const std::tuple< const char*, std::string, std::string > invalid[] = {
      { "LM73", "resolution=0.3", "Resolution 0.3 invalid" },
      { "LM73", "resolution=0", "Resolution 0 invalid" },
      { "LM73", "resolution=nan", "Resolution nan invalid" },
      { "LM73", "resolution=1e99", "stof" },
      { "LM73", "invertAlertPolarity=true", "stoi" },
      { "TMP46x", "channel=9999999999", "stoi" },
      { "Max6697", "channel=", "stoi" },
      { "Max6658", "channel=x", "stoi" },
      { "MpsVrm", "channel=one", "stoi" },
      { "Isl6812x", "localId=", "stoi" },
   };
   for ( const auto& [ driver, args, message ] : invalid ) {
      EXPECT_THAT( [ & ] { SensorChip( driver, args ); },
                   ThrowsMessage< std::logic_error >( message ) )
         << driver;
   }
}

TEST( SensorsDeathTest, RefuseWhatTheyDoNotHave ) {
   const std::string missing = R"(args.driverArgs.find( "channel" ) != args.driverArgs.end())";
   const std::tuple< const char*, std::string, std::string, std::string > rows[] = {
      { "Max6697", "", {}, missing },
      { "Max6658", "", {}, missing },
      { "TMP46x", "", {}, missing },
      { "MpsVrm", "", {}, missing },
      { "Max6697", "channel=8", {}, "`channel <= 7'" },
      { "Max6697", "channel=-1", {}, "`channel <= 7'" },
      { "Max6658", "channel=2", {}, R"(`channel <= 1 && "invalid channel number"')" },
      { "TMP46x", "channel=9", {}, "`channel <= maxChannel_'" },
      { "TMP46x", "channel=256", {}, "`channel <= maxChannel_'" },
      { "TMP46x", "channel=5", "ff=1464", "`channel <= maxChannel_'" },
      { "TMP46x", "channel=0", "ff=0469",
        "virtual void Drivers::TMP46x::init() failed, Unknown deviceId: 469" },
      { "IR357x", "channel=3", {}, "`channelIsValid( channel )'" },
      { "MpsVrm", "channel=0", {}, "`channelIsValid( channel )'" },
      { "MpsVrm", "channel=2", {}, "`channelIsValid( channel )'" },
      { "IR357x", "", "9a=0224", "init(): Assertion `model[ 0 ] == 0x01'" },
      { "IR357x", "", "9b=0003", "`revision[ 0 ] == 0x01'" },
   };
   for ( const auto& [ driver, args, registers, text ] : rows ) {
      EXPECT_DEATH( SensorChip( driver, args, registers ), HasSubstr( text ) ) << driver;
   }
   SensorChip lm73( "LM73" );
   EXPECT_DEATH( lm73.device->newTempSensor( {} ), HasSubstr( "`instance_ == __null'" ) );
   SensorChip chip( "Max6697", "channel=5", "05=ff" );
   float celsius;
   EXPECT_DEATH( chip.getTemperature( &celsius ), HasSubstr( "Incorrect diode5 value ff" ) );
}

TEST( SensorsDeathTest, AChipThatDoesNotStartStopsTheProcess ) {
   const std::tuple< const char*, size_t, std::string > rows[] = {
      { "TMP75", 1, "Failed to set converter resolution for TMP75 device\nDrivers/TMP75.cpp" },
      { "LM73", 1, "virtual void Drivers::LM73::init(): Assertion `result == PL_STATUS_OK'" },
      { "LM73", 2, "Assertion `result == PL_STATUS_OK'" },
      { "TMP46x", 1, "init(): Assertion `getDeviceId( &deviceId ) == PL_STATUS_OK'" },
      { "TMP46x", 2, "Assertion `res == PL_STATUS_OK'" },
      { "TMP46x", 3, "TMP46x::init(): Assertion `res == PL_STATUS_OK'" },
   };
   for ( const auto& [ driver, step, text ] : rows ) {
      Tests::FakeHam ham;
      ham.load( 0xFF, "0468" );
      ham.failNth( step, PL_STATUS_FAILURE );
      EXPECT_DEATH( Tests::createDevice( driver, ham ), HasSubstr( text ) ) << driver << step;
   }
   Tests::FakeHam locked;
   locked.load( 0xFF, "0468" );
   EXPECT_DEATH( Tests::createDevice( "TMP46x", locked ), HasSubstr( "Drivers/TMP46x.cpp:" ) );
}

TEST( SensorsDeathTest, ALimitThatCannotBeSetStopsTheProcess ) {
   const std::tuple< const char*, std::string, std::string, std::string > rows[] = {
      { "LM73", "", "", "value" },
      { "TMP46x", "channel=3", "id_, Threshold::Alert, value", "id_, Threshold::Overheat, value" },
      { "Max6697", "channel=1", "id_, Threshold::Alert, value", "id_, Threshold::Overheat, value" },
      { "Max6658", "channel=1", "type_, Threshold::Alert, value",
        "type_, Threshold::Overtemp1, value" },
      { "Isl6812x", "", "Threshold::Alert, value", "Threshold::Critical, value" },
   };
   auto refused = []( const std::string& arguments ) {
      return HasSubstr( "`device_->setThreshold( " + arguments + " ) == PL_STATUS_OK'" );
   };
   for ( const auto& [ driver, args, alert, critical ] : rows ) {
      SensorChip chip( driver, args );
      chip.ham.failOn( "W", PL_STATUS_FAILURE );
      if ( !alert.empty() ) {
         EXPECT_DEATH( chip.sensor->alertThresholdIs( 80 ), refused( alert ) ) << driver;
      }
      EXPECT_DEATH( chip.sensor->criticalThresholdIs( 90 ), refused( critical ) ) << driver;
   }
}

// One simulated register of each chip is changed, which must show in that reading alone.
TEST( Sensors, AllWorkOnSimulationFiles ) {
   const std::tuple< const char*, std::string, uint8_t, std::string, float > rows[] = {
      { "TMP75", "", 0x00, "f6e0", -9.125f },       { "LM73", "", 0x00, "fffc", -0.03125f },
      { "TMP46x", "channel=5", 0x05, "ec00", -40 }, { "Max6697", "channel=1", 0x09, "e0", 25.875f },
      { "Max6697", "channel=7", 0x07, "2a", 42 },   { "Max6658", "channel=0", 0x11, "60", 25.375f },
      { "Max6658", "channel=1", 0x01, "f6", -10 },  { "IR357x", "channel=1", 0x8D, "3700", 55 },
      { "MpsVrm", "channel=1", 0x8D, "3700", 55 },  { "Isl6812x", "localId=1", 0x8D, "3700", 55 },
   };
   Tests::TemporaryDirectory directory;
   setenv( "LUMENLIB_SIMDIR", directory.path().c_str(), 1 );
   for ( const auto& [ driver, args, reg, bytes, celsius ] : rows ) {
      Ham::SimHam ham;
      auto device = Tests::createDevice( driver, ham, Tests::pairsOf( args ) );
      std::unique_ptr< Component::LogicalDevice::TempSensor > sensor(
         device->newTempSensor( Tests::argumentsOf( Tests::pairsOf( args ) ) ) );
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
