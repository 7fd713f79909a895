#include <gmock/gmock.h>

#include <limits>
#include <stdexcept>

#include "Drivers/LM73.h"
#include "Drivers/Max6658.h"
#include "Drivers/Max6697.h"
#include "Drivers/TMP46x.h"
#include "Drivers/TMP75.h"
#include "Tests/support/SensorChip.h"
#include "Tests/support/TraceLog.h"

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Message;
using Tests::channel;
using Tests::DriverArguments;
using Tests::kUntouched;
using Tests::Registers;
using Tests::SensorChip;
using Lines = std::vector< std::string >;

namespace {

constexpr float kInfinity = std::numeric_limits< float >::infinity();
constexpr float kNaN = std::numeric_limits< float >::quiet_NaN();

// Registers hold bytes in bus order.
TEST( TemperatureChips, ReadTheirRegistersAsDegrees ) {
   const std::tuple< const char*, DriverArguments, Registers, float, Lines > rows[] = {
      { "TMP75", {}, { { 0x00, "1980" } }, 25.5f, { "R16 00" } },
      { "TMP75", {}, { { 0x00, "ffe0" } }, -0.125f, { "R16 00" } },
      { "LM73", {}, { { 0x00, "0c80" } }, 25.0f, { "R16 00" } },
      { "LM73", {}, { { 0x00, "fffc" } }, -0.03125f, { "R16 00" } },
      { "TMP46x", channel( "0" ), { { 0x00, "0cc8" } }, 25.5625f, { "R16 00" } },
      { "TMP46x", channel( "8" ), { { 0x08, "ec00" } }, -40.0f, { "R16 08" } },
      { "Max6697", channel( "1" ), { { 1, "2a" }, { 9, "e0" } }, 42.875f, { "R8 01", "R8 09" } },
      { "Max6697", channel( "2" ), { { 2, "2a" }, { 9, "e0" } }, 42.0f, { "R8 02" } },
      { "Max6697", channel( "0" ), { { 7, "7f" } }, 127.0f, { "R8 07" } },
      { "Max6697", channel( "263" ), { { 7, "00" } }, 0.0f, { "R8 07" } },
      { "Max6658", channel( "0" ), { { 0, "19" }, { 0x11, "20" } }, 25.125f, { "R8 00", "R8 11" } },
      { "Max6658", channel( "1" ), { { 1, "f6" }, { 0x10, "60" } }, -9.625f, { "R8 01", "R8 10" } },
   };
   for ( const auto& [ driver, args, registers, celsius, traffic ] : rows ) {
      SCOPED_TRACE( Message() << driver << " " << celsius );
      SensorChip chip( driver, args );
      chip.load( registers );
      chip.ham.batches = 0;
      float reading = kUntouched;
      EXPECT_EQ( chip.getTemperature( &reading ), PL_STATUS_OK );
      EXPECT_EQ( reading, celsius );
      EXPECT_EQ( chip.ham.log, traffic );
      EXPECT_EQ( chip.ham.batches, 1 );

      for ( const std::string& line : traffic ) {
         chip.ham.failNothing();
         chip.ham.failOn( line, PL_STATUS_FAILURE );
         reading = kUntouched;
         EXPECT_EQ( chip.getTemperature( &reading ), PL_STATUS_FAILURE );
         EXPECT_EQ( reading, kUntouched );
      }
   }
}

// Words as the HAM gives them: the chip's first byte in the low half.
TEST( TemperatureChips, ConvertWholeRangeAndEveryFraction ) {
   const std::pair< uint16_t, float > eighths[] = {
      { 0x0000, 0.0f },     { 0x2000, 0.125f },  { 0x4000, 0.25f },     { 0x6000, 0.375f },
      { 0x8000, 0.5f },     { 0xA000, 0.625f },  { 0xC000, 0.75f },     { 0xE000, 0.875f },
      { 0xE07F, 127.875f }, { 0x0080, -128.0f }, { 0x2080, -127.875f }, { 0xE0FF, -0.125f },
   };
   for ( const auto& [ word, celsius ] : eighths ) {
      EXPECT_EQ( Drivers::TMP75::registerToTemperature( word ), celsius ) << word;
      uint8_t whole = word & 0xFF;
      uint8_t extended = word >> 8;
      EXPECT_EQ( Drivers::Max6658::registersToTemperature( whole, extended ), celsius ) << word;
      if ( whole < 0x80 ) {
         EXPECT_EQ( Drivers::Max6697::registersToTemperature( whole, extended ), celsius ) << word;
      }
   }
   EXPECT_EQ( Drivers::TMP75::registerToTemperature( 0xFFFF ), -0.125f );
   EXPECT_EQ( Drivers::Max6658::registersToTemperature( 0x00, 0x1F ), 0.0f );

   const std::pair< uint16_t, float > wide[] = {
      { 0x0000, 0.0f },    { 0x0100, 0.0078125f },  { 0x0400, 0.03125f },
      { 0x0800, 0.0625f }, { 0x1000, 0.125f },      { 0x2000, 0.25f },
      { 0x4000, 0.5f },    { 0x8000, 1.0f },        { 0xFF7F, 255.9921875f },
      { 0x0080, -256.0f }, { 0xFFFF, -0.0078125f }, { 0x00EC, -40.0f },
   };
   for ( const auto& [ word, celsius ] : wide ) {
      EXPECT_EQ( Drivers::LM73::registerToTemperature( word ), celsius ) << word;
      EXPECT_EQ( Drivers::TMP46x::registerToTemperature( word ), celsius ) << word;
      EXPECT_EQ( Drivers::TMP46x::temperatureToRegister( celsius ), word ) << celsius;
   }
   const std::tuple< float, uint16_t, uint16_t > limits[] = {
      { 100.0f, 0x0032, 0x0032 },     { 0.009f, 0x0100, 0x0000 },  { 0.49f, 0x3E00, 0x2000 },
      { -0.009f, 0xFFFF, 0xE0FF },    { -0.001f, 0x0000, 0x0000 }, { -5.5f, 0x40FD, 0x40FD },
      { 300.0f, 0x0096, 0x0096 },     { kNaN, 0x0000, 0x0000 },    { kInfinity, 0xFFFF, 0xE0FF },
      { -kInfinity, 0x0000, 0x0000 }, { 3.4e38f, 0xFFFF, 0xE0FF },
   };
   for ( const auto& [ celsius, steps, quarters ] : limits ) {
      EXPECT_EQ( Drivers::TMP46x::temperatureToRegister( celsius ), steps ) << celsius;
      EXPECT_EQ( Drivers::LM73::limitToRegister( celsius ), quarters ) << celsius;
   }
}

TEST( TemperatureChips, ProgramTheirLimitsAlertFirst ) {
   const std::tuple< const char*, DriverArguments, float, float, Lines > rows[] = {
      { "TMP75", {}, 80, 90, {} },
      { "LM73", {}, 80, 100, { "W16 02=3200", "W16 03=2f80" } },
      { "LM73", {}, 80, -10.1f, { "W16 02=fae0", "W16 03=fb20" } },
      { "TMP46x", channel( "0" ), 85, 95.5f, { "W16 3a=2a80", "W16 39=2fc0" } },
      { "TMP46x", channel( "1" ), -5.5f, -0.001f, { "W16 43=fd40", "W16 42=0000" } },
      { "TMP46x", channel( "8" ), kNaN, kInfinity, { "W16 7b=0000", "W16 7a=ffff" } },
      { "Max6697", channel( "1" ), 95.9f, -5.5f, { "W8 11=5f", "W8 21=fb" } },
      { "Max6697", channel( "4" ), kNaN, 300, { "W8 14=00", "W8 24=2c" } },
      { "Max6697", channel( "6" ), kInfinity, -kInfinity, { "W8 16=ff", "W8 26=00" } },
      { "Max6697", channel( "3" ), 70, 80, { "W8 13=46" } },
      { "Max6697", channel( "0" ), 70, 80, { "W8 17=46" } },
      { "Max6658", channel( "0" ), 95.9f, -5.5f, { "W8 0b=5f", "W8 20=fb" } },
      { "Max6658", channel( "1" ), 70, 0.9f, { "W8 0d=46", "W8 1f=00" } },
   };
   for ( const auto& [ driver, args, alert, critical, traffic ] : rows ) {
      SCOPED_TRACE( Message() << driver << " " << alert << " " << critical );
      SensorChip chip( driver, args );
      chip.sensor->alertThresholdIs( alert );
      chip.sensor->criticalThresholdIs( critical );
      EXPECT_EQ( chip.ham.log, traffic );
   }
}

TEST( TemperatureChips, ReadLimitsBackFromTheirReadAddresses ) {
   float celsius = kUntouched;
   SensorChip chip( "Max6658", channel( "1" ), { { 0x07, "46" }, { 0x1F, "fb" } } );
   auto& max6658 = chip.as< Drivers::Max6658 >();
   using Diode = Drivers::Max6658::DiodeType;
   using Limit = Drivers::Max6658::Threshold;
   EXPECT_EQ( max6658.getThreshold( Diode::remote, Limit::Alert, &celsius ), PL_STATUS_OK );
   EXPECT_EQ( celsius, 70 );
   EXPECT_EQ( max6658.getThreshold( Diode::remote, Limit::Overtemp1, &celsius ), PL_STATUS_OK );
   EXPECT_EQ( celsius, 251 );
   max6658.getThreshold( Diode::local, Limit::Alert, &celsius );
   EXPECT_THAT( chip.ham.log, ElementsAre( "R8 07", "R8 1f", "R8 05" ) );

   SensorChip seven( "Max6697", channel( "7" ), { { 0x17, "5a" } } );
   auto& max6697 = seven.as< Drivers::Max6697 >();
   Tests::TraceLog traces;
   EXPECT_EQ( max6697.getThreshold( 7, Drivers::Max6697::Threshold::Overheat, &celsius ),
              PL_STATUS_UNSUPPORTED );
   EXPECT_THAT( traces.take(), ElementsAre( "5 Overheat register not available for 7" ) );
   EXPECT_EQ( max6697.getThreshold( 7, Drivers::Max6697::Threshold::Alert, &celsius ),
              PL_STATUS_OK );
   EXPECT_EQ( celsius, 90 );
   seven.sensor->criticalThresholdIs( 80 );
   EXPECT_THAT( traces.take(), ElementsAre( "5 Overheat register not available for 7" ) );

   SensorChip lm73( "LM73", {}, { { 0x02, "3200" } } );
   EXPECT_EQ( lm73.as< Drivers::LM73 >().getThreshold( &celsius ), PL_STATUS_OK );
   EXPECT_EQ( celsius, 100 );
   SensorChip tmp( "TMP46x", channel( "2" ), { { 0x4B, "fd40" } } );
   EXPECT_EQ(
      tmp.as< Drivers::TMP46x >().getThreshold( 2, Drivers::TMP46x::Threshold::Alert, &celsius ),
      PL_STATUS_OK );
   EXPECT_EQ( celsius, -5.5f );
}

TEST( TemperatureChips, InitialiseInOrder ) {
   const std::tuple< const char*, DriverArguments, Lines > rows[] = {
      { "TMP75", {}, { "W8 01=40" } },
      { "LM73", {}, { "W8 04=08", "W8 01=40" } },
      { "LM73",
        { { "invertAlertPolarity", "-3" }, { "resolution", "0.03125" } },
        { "W8 04=08", "W8 01=50" } },
      { "TMP46x", channel( "1" ), { "R16 ff", "W16 c4=eb19", "R16 c4" } },
      { "Max6697", channel( "1" ), {} },
      { "Max6658", channel( "1" ), { "W8 0a=04" } },
   };
   for ( const auto& [ driver, args, traffic ] : rows ) {
      EXPECT_EQ( SensorChip( driver, args ).initLog, traffic ) << driver;
   }
   Tests::FakeHam ham;
   ham.failOn( "W8 0a", PL_STATUS_FAILURE );
   EXPECT_NE( Tests::createDevice( "Max6658", ham ), nullptr );
}

TEST( TemperatureChips, AcceptWhatTheirArgumentsAllow ) {
   for ( const auto& [ text, steps ] :
         { std::pair( "0.25", 0 ), std::pair( "0.125", 1 ), std::pair( "0.0625", 2 ),
           std::pair( "0.03125", 3 ), std::pair( "0.1", 1 ), std::pair( "0.06 K", 2 ) } ) {
      SensorChip chip( "LM73", { { "resolution", text } } );
      EXPECT_EQ( static_cast< int >( chip.as< Drivers::LM73 >().resolution() ), steps ) << text;
   }
   const std::tuple< const char*, DriverArguments, std::string > invalid[] = {
      { "LM73", { { "resolution", "0.3" } }, "Resolution 0.3 invalid" },
      { "LM73", { { "resolution", "0" } }, "Resolution 0 invalid" },
      { "LM73", { { "resolution", "-0.25" } }, "Resolution -0.25 invalid" },
      { "LM73", { { "resolution", "nan" } }, "Resolution nan invalid" },
      { "LM73", { { "resolution", "fine" } }, "stof" },
      { "LM73", { { "resolution", "1e99" } }, "stof" },
      { "LM73", { { "invertAlertPolarity", "true" } }, "stoi" },
      { "TMP46x", channel( "one" ), "stoi" },
      { "TMP46x", channel( "9999999999" ), "stoi" },
      { "Max6697", channel( "" ), "stoi" },
      { "Max6658", channel( "x" ), "stoi" },
   };
   for ( const auto& [ driver, args, message ] : invalid ) {
      try {
         SensorChip chip( driver, args );
         ADD_FAILURE() << driver << " accepts " << args.begin()->second;
      } catch ( const std::logic_error& error ) {
         EXPECT_EQ( error.what(), message );
      }
   }
   EXPECT_THROW( SensorChip( "TMP46x", channel( "9999999999" ) ), std::out_of_range );
   EXPECT_THROW( SensorChip( "TMP46x", channel( "one" ) ), std::invalid_argument );
}

TEST( TemperatureChips, TraceWhatTheyDo ) {
   float celsius;
   Tests::TraceLog traces;
   const std::tuple< const char*, DriverArguments, Lines, std::string > rows[] = {
      { "TMP75", {}, { "5 Creating TMP75" }, "6 pl_status Drivers::TMP75::getTemperature(float*)" },
      { "LM73", {}, { "5 Creating LM73" }, "6 pl_status Drivers::LM73::getTemperature(float*)" },
      { "TMP46x",
        channel( "4" ),
        { "0 creating TMP468", "0 TMP468 registers unlocked for write" },
        "6 pl_status Drivers::TMP46x::getTemperature(uint8_t, float*): 04" },
      { "Max6697",
        channel( "263" ),
        { "5 Creating Max6697 on channel 7" },
        "6 pl_status Drivers::Max6697::getTemperature(uint8_t, float*): 07" },
      { "Max6658",
        channel( "0" ),
        { "5 Creating Max6658 on channel 0",
          "0 WARNING: the internal diode of the Max6658 has a 3 degree error in its "
          "measurements\n" },
        "6 pl_status Drivers::Max6658::getTemperature(Drivers::Max6658::DiodeType, float*): 00" },
   };
   for ( const auto& [ driver, args, creation, access ] : rows ) {
      SensorChip chip( driver, args );
      Lines lines = traces.take();
      for ( const std::string& line : creation ) {
         EXPECT_THAT( lines, Contains( line ) );
      }
      chip.getTemperature( &celsius );
      EXPECT_THAT( traces.take(), ElementsAre( HasSubstr( "getTemperatureCallback" ), access ) );
   }
   SensorChip tmp75( "TMP75" );
   tmp75.ham.failOn( "R16", PL_STATUS_FAILURE );
   tmp75.getTemperature( &celsius );
   EXPECT_EQ( traces.lines.back(), "0 Error: Failed to read temperature for TMP75 device" );
}

TEST( TemperatureChips, AnOpenDiodeOfAMax6658IsAStatus ) {
   SensorChip chip( "Max6658", channel( "1" ), { { 0x01, "80" }, { 0x10, "e0" } } );
   Tests::TraceLog traces;
   float celsius = kUntouched;
   EXPECT_EQ( chip.getTemperature( &celsius ), PL_STATUS_IO_ERROR );
   EXPECT_EQ( celsius, kUntouched );
   EXPECT_EQ( traces.lines.back(), "0 Diode 1 is in fault status" );
}

TEST( TemperatureChips, ALM73KeepsItsResolutionWhenTheChangeFails ) {
   using Resolution = Drivers::LM73::Resolution;
   SensorChip chip( "LM73" );
   auto& lm73 = chip.as< Drivers::LM73 >();
   EXPECT_EQ( lm73.setResolution( Resolution::ThirtySecondDegree ), PL_STATUS_OK );
   chip.ham.failOn( "W8 04=28", PL_STATUS_FAILURE );
   EXPECT_EQ( lm73.setResolution( Resolution::EighthDegree ), PL_STATUS_FAILURE );
   EXPECT_EQ( lm73.resolution(), Resolution::ThirtySecondDegree );
   lm73.init();
   EXPECT_THAT( chip.ham.log, ElementsAre( "W8 04=68", "W8 04=28", "W8 04=68", "W8 01=40" ) );
   chip.ham.failOn( "W16 03", PL_STATUS_IO_ERROR );
   EXPECT_EQ( lm73.setThreshold( 50 ), PL_STATUS_IO_ERROR );
}

TEST( TemperatureChips, ATMP46xIsKnownByTheLowBitsOfItsId ) {
   for ( const auto& [ id, most, name ] : { std::tuple( "1468", "8", "0 creating TMP1468" ),
                                            std::tuple( "0464", "4", "0 creating TMP464" ) } ) {
      Tests::TraceLog traces;
      SensorChip chip( "TMP46x", channel( most ), { { 0xFF, id } } );
      EXPECT_THAT( traces.lines, Contains( name ) );
   }
   SensorChip chip( "TMP46x", channel( "0" ) );
   chip.ham.afterWrite = [ & ]( uint32_t ) { chip.ham.load( 0xC4, "8000" ); };
   EXPECT_EQ( chip.as< Drivers::TMP46x >().lockRegister(), PL_STATUS_OK );
   EXPECT_THAT( chip.ham.log, ElementsAre( "W16 c4=5ca6", "R16 c4" ) );
}

TEST( TemperatureChipsDeathTest, RefuseAChannelThatIsNotThere ) {
   const std::string missing = R"(args.driverArgs.find( "channel" ) != args.driverArgs.end())";
   const std::tuple< const char*, DriverArguments, std::string > rows[] = {
      { "Max6697", {}, missing },
      { "Max6658", {}, missing },
      { "TMP46x", {}, missing },
      { "Max6697", channel( "8" ), "`channel <= 7'" },
      { "Max6697", channel( "-1" ), "`channel <= 7'" },
      { "Max6658", channel( "2" ), R"(`channel <= 1 && "invalid channel number"')" },
      { "TMP46x", channel( "9" ), "`channel <= maxChannel_'" },
      { "TMP46x", channel( "-1" ), "`channel <= maxChannel_'" },
      { "TMP46x", channel( "256" ), "`channel <= maxChannel_'" },
   };
   for ( const auto& [ driver, args, text ] : rows ) {
      EXPECT_DEATH( SensorChip( driver, args ), HasSubstr( text ) ) << driver;
   }
   EXPECT_DEATH( SensorChip( "TMP46x", channel( "5" ), { { 0xFF, "1464" } } ),
                 HasSubstr( "`channel <= maxChannel_'" ) );
   SensorChip lm73( "LM73" );
   EXPECT_DEATH( lm73.device->newTempSensor( {} ), HasSubstr( "`instance_ == __null'" ) );
}

TEST( TemperatureChipsDeathTest, AChipThatDoesNotStartStopsTheProcess ) {
   const std::tuple< const char*, const char*, std::string > rows[] = {
      { "TMP75", "W8 01",
        "virtual void Drivers::TMP75::init(): Assertion `status == PL_STATUS_OK'" },
      { "LM73", "W8 04", "virtual void Drivers::LM73::init(): Assertion `result == PL_STATUS_OK'" },
      { "LM73", "W8 01", "Assertion `result == PL_STATUS_OK'" },
      { "TMP46x", "R16 ff", "init(): Assertion `getDeviceId( &deviceId ) == PL_STATUS_OK'" },
      { "TMP46x", "W16 c4", "Assertion `res == PL_STATUS_OK'" },
      { "TMP46x", "R16 c4", "TMP46x::init(): Assertion `res == PL_STATUS_OK'" },
   };
   for ( const auto& [ driver, line, text ] : rows ) {
      Tests::FakeHam ham;
      ham.load( 0xFF, "0468" );
      ham.failOn( line, PL_STATUS_FAILURE );
      EXPECT_DEATH( Tests::createDevice( driver, ham ), HasSubstr( text ) ) << driver << line;
   }
   EXPECT_DEATH(
      SensorChip( "TMP46x", channel( "0" ), { { 0xFF, "0469" } } ),
      HasSubstr( "virtual void Drivers::TMP46x::init() failed, Unknown deviceId: 469" ) );
   Tests::FakeHam locked;
   locked.load( 0xFF, "0468" );
   EXPECT_DEATH( Tests::createDevice( "TMP46x", locked ), HasSubstr( "Drivers/TMP46x.cpp:" ) );
}

TEST( TemperatureChipsDeathTest, ALimitThatCannotBeSetStopsTheProcess ) {
   const std::tuple< const char*, DriverArguments, std::string, std::string > rows[] = {
      { "LM73", {}, "", "value" },
      { "TMP46x", channel( "3" ), "id_, Threshold::Alert, value",
        "id_, Threshold::Overheat, value" },
      { "Max6697", channel( "1" ), "id_, Threshold::Alert, value",
        "id_, Threshold::Overheat, value" },
      { "Max6658", channel( "1" ), "type_, Threshold::Alert, value",
        "type_, Threshold::Overtemp1, value" },
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

TEST( TemperatureChipsDeathTest, AnInvalidReadingOfAMax6697StopsTheProcess ) {
   SensorChip chip( "Max6697", channel( "5" ), { { 5, "ff" } } );
   float celsius;
   EXPECT_DEATH( chip.getTemperature( &celsius ), HasSubstr( "Incorrect diode5 value ff" ) );
}

}  // namespace
