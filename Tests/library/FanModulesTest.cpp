#include <fmt/format.h>
#include <gmock/gmock.h>

#include <cerrno>
#include <cstdlib>

#include "Components/Fan.h"
#include "Components/Slot.h"
#include "Ham/SimHam.h"
#include "Tests/support/SensorChip.h"
#include "Tests/support/TemporaryDirectory.h"
#include "Tests/support/TraceLog.h"

using namespace testing;
using Component::LogicalDevice::Fan;
using Component::LogicalDevice::Slot;
using Tests::joined;

namespace {

constexpr int kUntouchedRpm = -1;

const std::string kCpu =
   "fanId=3; G1name=FAN-7001-?; G1maxRpm=10000; G1minRpm=3000; G1p=0.5; G1i=0.0625; "
   "G1pulsesPerRevolution=2; G1fanSample=1000000; G2name=?-FAN-?; G2maxRpm=-1; G2p=1; G2i=2";
const std::string kOuter = "fanId=9; position=2; maxRpm=10000; isOuter=7";
const std::string kInner = "fanId=9; position=2; maxRpm=10000; minRpm=3000; isOuter=0";
const std::string kSpinner = "fanId=5; maxRpm=13000; minRpm=3000";

// A board controller on a fake HAM: present modules, good fans.
class Controller {
 public:
   explicit Controller( const std::string& driver ) {
      load( "20=ff; 21=00; 49=ff; 4a=ff" );
      device = Tests::createDevice( driver, ham );
      ham.log.clear();
   }

   void load( const std::string& registers ) { Tests::loadRegisters( ham, registers ); }

   std::unique_ptr< Fan > fan( const std::string& arguments ) {
      std::unique_ptr< Fan > made( device->newFan( argumentsOf( arguments ) ) );
      ham.log.clear();
      return made;
   }

   // Status and text of a slot; no text is "-".
   static std::pair< pl_status, std::string > presence( Slot& slot ) {
      char* text = nullptr;
      pl_status status = slot.record()->ops->get_presence( slot.record(), &text );
      std::string kept = text ? text : "-";
      free( text );
      return { status, kept };
   }

   static Drivers::DriverArgs argumentsOf( const std::string& arguments ) {
      return Tests::argumentsOf( Tests::pairsOf( arguments ) );
   }

   Tests::FakeHam ham;
   Component::HardwareDevice* device;
};

TEST( Fans, TellTheirSpeed ) {
   const std::tuple< const char*, std::string, const char*, int, pl_status, std::string > rows[] = {
      { "CpuCPLD", kCpu, "04=b8; 05=0b", 10000, PL_STATUS_OK,
        "6 Fan 2 is at 10000 rpm (tach 3000)" },
      { "CpuCPLD", kCpu, "04=ff; 05=ff", 457, PL_STATUS_OK, "6 Fan 2 is at 457 rpm (tach 65535)" },
      { "CpuCPLD", kCpu, "04=00; 05=00", 2147483647, PL_STATUS_OK, "(tach 0)" },
      { "CpuCPLD", kCpu, "21=04", kUntouchedRpm, PL_STATUS_ABSENT, "6 Fan 2 no longer present" },
      { "CpuCPLD", kCpu, "20=fb", kUntouchedRpm, PL_STATUS_DEVICE_ERROR,
        "0 Fan 2 detected an error" },
      { "TarnRearCardCPLD", kOuter, "14=2c; 15=01", 10000, PL_STATUS_OK,
        "6 Fan 9 is at 300 (raw speed), 10000 rpm, maxRpm of 10000 rpm, minRpm of 3000 rpm" },
      { "TarnRearCardCPLD", kInner, "24=2d; 25=01", 9966, PL_STATUS_OK, "is at 301 (raw speed)" },
      { "TarnRearCardCPLD", kInner, "14=2c; 15=01", 0, PL_STATUS_OK, "is at 0 (raw speed), 0 rpm" },
      { "TarnRearCardCPLD", kInner, "24=ff; 25=ff", kUntouchedRpm, PL_STATUS_DEVICE_ERROR,
        "0 Fan 9 detected an error with stuck fan or broken tach signal" },
      { "TarnRearCardCPLD", kOuter, "4a=fb", kUntouchedRpm, PL_STATUS_DEVICE_ERROR,
        "0 Fan 9 detected an error with fault register value: " },
      { "MorrowFanspinnerController", kSpinner, "c5=00c0; c7=00b0; eb=12bd; ee=fdab", 10000,
        PL_STATUS_OK,
        "4 Fan 5 is at 44029 (raw speed), 10000 rpm, maxRpm of 13000 rpm, minRpm of 3000 rpm" },
      { "MorrowFanspinnerController", kSpinner, "c5=00c0; c7=00b0; eb=01c0; ee=0100", -7500000,
        PL_STATUS_OK, "is at 1 (raw speed)" },
      { "MorrowFanspinnerController", kSpinner, "c5=00c0; eb=0000; ee=0000", 0, PL_STATUS_OK,
        "is at 0 (raw speed), 0 rpm" },
      { "MorrowFanspinnerController", kSpinner, "c5=00c0; eb=00c0", kUntouchedRpm,
        PL_STATUS_DEVICE_ERROR, "outer tach initial value = 0x0000" },
      { "MorrowFanspinnerController", kSpinner, "c5=00c0; eb=12bd; ee=ffff", kUntouchedRpm,
        PL_STATUS_DEVICE_ERROR,
        "0 Fan 5 detected an error with stuck inner fan or broken tach signal" },
   };
   Tests::TraceLog traces;
   for ( const auto& [ driver, arguments, registers, expected, status, trace ] : rows ) {
      SCOPED_TRACE( driver + std::string( " " ) + registers );
      Controller controller( driver );
      auto fan = controller.fan( arguments );
      controller.load( registers );
      int rpm = kUntouchedRpm;
      EXPECT_EQ( fan->record()->ops->get_rpm( fan->record(), &rpm ), status );
      EXPECT_EQ( rpm, expected );
      EXPECT_THAT( traces.lines.back(), HasSubstr( trace ) );
   }
}

TEST( Fans, TurnTheirSpeedIntoADuty ) {
   const std::tuple< const char*, std::string, int, std::string > rows[] = {
      { "CpuCPLD", kCpu, 0, "W8 12=00" },
      { "CpuCPLD", kCpu, 5000, "W8 12=49" },
      { "CpuCPLD", kCpu, 10000, "W8 12=ff" },
      { "CpuCPLD", kCpu, 2147483647, "W8 12=ff" },
      { "CpuCPLD", kCpu + "0; G1maxRpm=0", 0, "W8 12=ff" },  // 3000 rpm at least, of 0
      { "TarnRearCardCPLD", kOuter, 2000, "W8 32=00" },
      { "TarnRearCardCPLD", kInner, 10000, "W8 3a=ff" },
      { "TarnRearCardCPLD", kInner, 10028, "W8 3a=00" },  // wraps
      { "TarnRearCardCPLD", kOuter + "; minRpm=10000", 10000, "W8 32=00" },
      { "TarnRearCardCPLD", kOuter + "; minRpm=10000", 10001, "W8 32=ff" },
      { "MorrowFanspinnerController", kSpinner, 8000, "R8 f4; W8 f4=fa; W8 c0=7f; W8 f4=fb" },
      { "MorrowFanspinnerController", kSpinner, 20000, "R8 f4; W8 f4=fa; W8 c0=ff; W8 f4=fb" },
      { "MorrowFanspinnerController", kSpinner, 0, "R8 f4; W8 f4=fa; W8 c0=00; W8 f4=fb" },
      { "MorrowFanspinnerController", kSpinner + "; minRpm=13000", 0,
        "R8 f4; W8 f4=fa; W8 c0=ff; W8 f4=fb" },
   };
   Tests::TraceLog traces;
   for ( const auto& [ driver, arguments, rpm, traffic ] : rows ) {
      SCOPED_TRACE( arguments + fmt::format( " {}", rpm ) );
      Controller controller( driver );
      controller.load( "f4=fb" );
      auto fan = controller.fan( arguments );
      EXPECT_EQ( fan->setRpm( rpm ), PL_STATUS_OK );
      EXPECT_THAT( joined( controller.ham.log ), EndsWith( traffic ) );
   }
   EXPECT_THAT( traces.take(), IsSupersetOf( { "6 Setting duty cycle to 73 (5000 rpm) for fan 2",
                                               "6 Setting pwm to 0 (3000 rpm) for fan 9 succeeded!",
                                               "0 Setting pwm to 127 (8000 rpm) for fan 5",
                                               "0 Setting pwm to 0 (0 rpm) for fan 5 "
                                               "succeeded!" } ) );
}

TEST( Fans, SampleATachometerOnARisingEdge ) {
   Controller controller( "MorrowFanspinnerController" );
   controller.load( "f4=03; c5=00c0; c7=00c0; eb=12bd; ee=12bd" );
   auto fan = controller.fan( kSpinner );
   int rpm;
   Tests::TraceLog traces;
   controller.ham.failOn( "W8 c0", PL_STATUS_FAILURE );  // a fan that did not start is sampled
   EXPECT_EQ( fan->getRpm( &rpm ), PL_STATUS_OK );
   EXPECT_THAT( traces.take(),
                Contains( "0 MorrowFanspinnerController init: failed to init pwm" ) );
   controller.ham.failNothing();
   EXPECT_EQ( fan->getRpm( &rpm ), PL_STATUS_OK );
   EXPECT_EQ( joined( controller.ham.log ),
              "W8 c0=ff; R8 f4; W8 f4=01; W8 f4=03; R16 eb; R16 ee; "
              "W8 c0=ff; R16 c5; R16 c7; R8 f4; W8 f4=01; W8 f4=03; R16 eb; R16 ee" );
   controller.ham.failOn( "W8 f4=03", PL_STATUS_FAILURE );
   EXPECT_EQ( fan->getRpm( &rpm ), PL_STATUS_FAILURE );
   EXPECT_THAT( traces.lines.back(), EndsWith( "error: failed to write virtual input reg: 0x03" ) );
   controller.ham.failOn( "W8 c0", PL_STATUS_FAILURE );
   EXPECT_EQ( fan->setRpm( 1 ), PL_STATUS_FAILURE );
   EXPECT_THAT( traces.lines.back(), EndsWith( "rpm) for fan 5 failed!" ) );
}

TEST( Fans, AreNotMadeOfAbsentModules ) {
   const std::tuple< const char*, std::string, const char*, const char* > rows[] = {
      { "CpuCPLD", kCpu, "21=04", "R8 1a" }, { "TarnRearCardCPLD", kOuter, "49=fb", "R8 49" } };
   for ( const auto& [ driver, arguments, registers, read ] : rows ) {
      Controller controller( driver );
      controller.load( registers );
      errno = 0;
      EXPECT_EQ( controller.fan( arguments ), nullptr );
      EXPECT_EQ( errno, ENODEV );
      controller.ham.failOn( read, PL_STATUS_FAILURE );
      errno = 0;
      EXPECT_EQ( controller.fan( arguments ), nullptr );
      EXPECT_EQ( errno, 0 ) << "it may be there";
   }
}

TEST( Fans, OfARearCardTellTheVersion ) {
   Tests::FakeHam ham;
   Tests::loadRegisters( ham, "00=07; 01=1f; 49=ff" );
   auto device = Tests::createDevice( "TarnRearCardCPLD", ham );
   auto fan = device->newFan( Controller::argumentsOf( kOuter ) )->record();
   char* text;
   EXPECT_EQ( fan->ops->debug_info( fan, &text ), PL_STATUS_OK );
   EXPECT_STREQ( text, "Fan 9\nCPLD version:\t31.07\n\n" );
   free( text );
}

TEST( Slots, OfACpuBoardDescribeTheirModule ) {
   Controller controller( "CpuCPLD" );
   Drivers::DriverArgs args = Controller::argumentsOf( kCpu );
   args.jsonText = "{ the host's text }";
   std::unique_ptr< Slot > slot( controller.device->newSlot( args ) );
   args.driverArgs.clear();
   controller.load( "1a=01" );
   EXPECT_THAT( controller.presence( *slot ),
                Pair( PL_STATUS_OK,
                      "FruFactoryIds: PLDevice\ndevice.group = 'FanTray'\nslotId = 3\n"
                      "device.fanTray = ( 'FanTray%d' % slotId, )\n"
                      "fanTray = device.fanTray\nfanTray.modelName = 'FAN-7001-F'\n"
                      "fanTray.serialNum = 'N/A'\nfanTray.slotId = slotId\n"
                      "fan = fanTray.newFan( 'Fan%d' % ( slotId ) )\n"
                      "fan.airflowDirection = 'frontToBackAirflow'\n"
                      "fan.maxRpm = 10000\nfan.p = 0.500000\nfan.i = 0.062500\n"
                      "fan.libPath = ''\nfan.devArgs = '{ the host's text }'\n" ) );
   args.jsonText = nullptr;
   const std::pair< const char*, const char* > types[] = {
      { "1a=05", "modelName = 'F-FAN-F'" },
      { "1a=f5", "maxRpm = 4294967295\nfan.p = 1.000000\nfan.i = 2.000000" },
      { "1a=04", "'backToFrontAirflow'" },
      { "1a=02", "modelName = 'FAN-7001-R'" },
      { "1a=06", "modelName = 'FAN-7001-R'" },
   };
   for ( const auto& [ type, text ] : types ) {
      controller.load( type );
      EXPECT_THAT( controller.presence( *slot ), Pair( PL_STATUS_OK, HasSubstr( text ) ) ) << type;
   }
   controller.load( "21=04" );
   EXPECT_THAT( controller.presence( *slot ), Pair( PL_STATUS_ABSENT, "-" ) );
   controller.ham.failOn( "R8 21", PL_STATUS_IO_ERROR );
   EXPECT_THAT( controller.presence( *slot ), Pair( PL_STATUS_IO_ERROR, "-" ) );
   Controller other( "CpuCPLD" );
   slot.reset( other.device->newSlot( Controller::argumentsOf( kCpu + "; G1p=much" ) ) );
   EXPECT_THAT( other.presence( *slot ), Pair( PL_STATUS_FAILURE, "-" ) );
}

TEST( Slots, OfARearCardReadUntilTwoReadingsAgree ) {
   Controller controller( "TarnRearCardCPLD" );
   std::unique_ptr< Slot > slot( controller.device->newSlot( Controller::argumentsOf(
      "fanId=9; position=2; fanFdlMapKey_a=16; fanFdlMapValue_a=A {slotId}{typeId}{slotId}; "
      "fanFdlMapKey_b=7; fanFdlMapValue_b={position} {serialNum}{modelName} {other}" ) ) );
   // Next readings of 0x49 and 0x43; status, text, and the end of the last trace.
   const struct {
      std::vector< std::string > presence;
      std::vector< std::string > typeId;
      pl_status status;
      const char* text;
      const char* trace;
   } rows[] = {
      { { "04", "00", "ff", "ff" }, { "10", "10" }, PL_STATUS_OK, "A 9169", "fdl: A 9169" },
      { {}, { "10", "07", "10", "10" }, PL_STATUS_OK, "A 9169", "FanSlot 9: Using cached fdl" },
      { {}, { "07", "07" }, PL_STATUS_OK, "2 N/AN/A {other}", "fdl: 2 N/AN/A {other}" },
      { {},
        { "1f", "1f" },
        PL_STATUS_ABSENT,
        "-",
        "FanSlot 9: Unknown type id 0x1f. Fan is unsupported" },
      { { "fb", "fb" },
        {},
        PL_STATUS_ABSENT,
        "-",
        "getPresence(char**) FanSlot 9: Fan is not present" },
      { { "00", "01", "00", "02", "00", "04" }, {}, PL_STATUS_ABSENT, "-", "Fan is not present" },
      { {},
        { "00", "01", "00", "02", "00", "04" },
        PL_STATUS_ABSENT,
        "-",
        "FanSlot 9: mismatch in fan id readings - 0x00 0x04" },
   };
   Tests::TraceLog traces;
   for ( const auto& row : rows ) {
      controller.ham.loadNext( 0x49, row.presence );
      controller.ham.loadNext( 0x43, row.typeId );
      EXPECT_THAT( controller.presence( *slot ), Pair( row.status, row.text ) );
      EXPECT_THAT( traces.lines.back(), EndsWith( row.trace ) );
   }
   EXPECT_THAT( traces.lines,
                Contains( "0 pl_status Drivers::TarnRearCardCPLD::getFanPresence(uint8_t, uint8_t, "
                          "bool&) FanSlot 9: mismatch in fan presence readings - 0x04 0x00" ) );
   controller.ham.failOn( "R8 43", PL_STATUS_FAILURE );
   EXPECT_THAT( controller.presence( *slot ), Pair( PL_STATUS_FAILURE, "-" ) );
   EXPECT_THAT( traces.lines.back(), EndsWith( "FanSlot 9: Could not get fan id register" ) );
   controller.ham.failOn( "R8 49", PL_STATUS_IO_ERROR );
   EXPECT_THAT( controller.presence( *slot ), Pair( PL_STATUS_IO_ERROR, "-" ) );
   EXPECT_THAT( traces.lines.back(), EndsWith( "FanSlot 9: Fan is not present due to error" ) );
}

TEST( Slots, OfAFanSpinnerReadItsMemory ) {
   // A header, and a Product Info area whose product name has eight characters, not all harmless.
   constexpr const char* kImage = "01000000010000fe010219c0c8462707417b4e7d5cc10044";
   Controller controller( "MorrowFanspinnerIdprom" );
   auto load = [ & ]( std::string image ) {
      image.resize( 512, '0' );
      for ( unsigned chunk = 0; chunk < 8; ++chunk ) {
         controller.ham.load( chunk * 32, image.substr( chunk * 64, 64 ) );
      }
   };
   load( kImage );
   std::unique_ptr< Slot > slot( controller.device->newSlot( Controller::argumentsOf(
      "fanId=5; fdlTemplate={slotId} {modelName} {serialNum} {position}" ) ) );
   EXPECT_THAT( controller.presence( *slot ), Pair( PL_STATUS_OK, "5 FAN N/A N/A" ) );
   EXPECT_EQ( joined( controller.ham.log ),
              "R32 00; R32 20; R32 40; R32 60; R32 80; R32 a0; R32 c0; R32 e0" );
   controller.ham.loadNext( 0, { "00", "00" } );  // damaged on its way, twice
   EXPECT_THAT( controller.presence( *slot ), Pair( PL_STATUS_OK, "5 FAN N/A N/A" ) );
   controller.ham.log.clear();
   load( "" );
   EXPECT_THAT( controller.presence( *slot ), Pair( PL_STATUS_FAILURE, "-" ) );
   EXPECT_THAT( controller.ham.log, SizeIs( 3 * 8 ) );
   // Status of a failing read, whether for want of an acknowledge, and what comes of it.
   const std::tuple< pl_status, bool, pl_status, size_t > rows[] = {
      { PL_STATUS_FAILURE, true, PL_STATUS_ABSENT, 3 * 5 },
      { PL_STATUS_FAILURE, false, PL_STATUS_FAILURE, 3 * 5 },
      { PL_STATUS_IO_ERROR, false, PL_STATUS_IO_ERROR, 5 },
   };
   for ( const auto& [ status, isAbsent, expected, steps ] : rows ) {
      controller.ham.log.clear();
      controller.ham.failOn( "R32 80", status );
      controller.ham.isAbsent = isAbsent;
      EXPECT_THAT( controller.presence( *slot ), Pair( expected, "-" ) );
      EXPECT_THAT( controller.ham.log, SizeIs( steps ) );
   }
}

// The last number is what the fan reads once the register is changed in the file.
TEST( FanModules, WorkOnSimulationFiles ) {
   Tests::TemporaryDirectory directory;
   setenv( "LUMENLIB_SIMDIR", directory.path().c_str(), 1 );
   const std::tuple< const char*, std::string, uint8_t, int > fans[] = {
      { "CpuCPLD", kCpu, 0x05, 458 },
      { "TarnRearCardCPLD", kOuter, 0x15, 45 },
      { "MorrowFanspinnerController", kSpinner, 0xEC, 10000 } };
   for ( const auto& [ driver, arguments, reg, changed ] : fans ) {
      Ham::SimHam ham;
      auto device = Tests::createDevice( driver, ham );
      std::unique_ptr< Fan > fan( device->newFan( Controller::argumentsOf( arguments ) ) );
      int rpm;
      EXPECT_EQ( fan->getRpm( &rpm ), PL_STATUS_OK );
      EXPECT_EQ( rpm, 10000 ) << driver;
      EXPECT_EQ( fan->setRpm( 5000 ), PL_STATUS_OK );
      ham.saveReg( reg );
      ham.addWrite8( reg, 0xFF, false, 1 );
      EXPECT_EQ( fan->getRpm( &rpm ), PL_STATUS_OK );
      EXPECT_EQ( rpm, changed ) << driver;
   }
   Ham::SimHam memory;
   std::unique_ptr< Slot > slot( Tests::createDevice( "MorrowFanspinnerIdprom", memory )
                                    ->newSlot( Controller::argumentsOf( "fanId=1" ) ) );
   EXPECT_THAT( Controller::presence( *slot ).second,
                HasSubstr( "modelName = 'SIMULATED'\nfanTray.serialNum = 'SIM1'" ) );
}

}  // namespace
