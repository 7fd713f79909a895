#include <gmock/gmock.h>

#include <cmath>
#include <cstdlib>
#include <ctime>
#include <functional>
#include <tuple>

#include "Ham/SimHam.h"
#include "Tests/support/PoeController.h"
#include "Tests/support/TemporaryDirectory.h"
#include "Tests/support/TraceLog.h"

using namespace testing;
using Port = Drivers::BCM59121::PoePort;
using Tests::PoeController;

namespace {

// Every operation fills a list of its outputs, as the host finds them.
using Outputs = std::vector< float >;
using Operation = std::function< pl_status( Port& port, Outputs& out ) >;

constexpr int kBefore = 1;  // outputs before the operation

template < typename... Arguments >
Operation does( pl_status ( Port::*set )( Arguments... ), Arguments... arguments ) {
   return [ = ]( Port& port, Outputs& ) { return ( port.*set )( arguments... ); };
}

template < typename... Values >
Operation reads( pl_status ( Port::*get )( Values*... ) ) {
   return [ get ]( Port& port, Outputs& out ) {
      std::tuple values( static_cast< Values >( kBefore )... );
      return std::apply(
         [ & ]( auto&... value ) {
            pl_status status = ( port.*get )( &value... );
            out = { static_cast< float >( value )... };
            return status;
         },
         values );
   };
}

Operation shutsOff( uint8_t psu, bool enable ) {
   return does( &Port::setPoePortShutOffWithPsu, psu, enable );
}

Operation limits( int mode, float watts ) {
   return does( &Port::setPoePortLimit, static_cast< pl_poe_power_limit_mode >( mode ), watts );
}

const Operation kVolts = reads( &Port::getPoePortVoltage );
const Operation kCelsius = reads( &Port::getPoePortTemperature );
const Operation kPower = reads( &Port::getPoePortPower );
const Operation kState = reads( &Port::getPoePortPowerState );
const Operation kClass = reads( &Port::getPoeDeviceClass );
const Operation kCrc = reads( &Port::getPoePortCrcStatus );

const std::string kStateRequests = "21=ff07ffffffffffffffff1f 3d=ff07ffffffffffffffff3b ";
const std::string kState3Requests = "21=ff03ffffffffffffffff1b 3d=ff03ffffffffffffffff37 ";
const std::string kVoltsRequest = "30=ff03ffffffffffffffff2a ";
const std::string kLimitRequests =
   "3d=ff07ffffffffffffffff3b 16=ff079bffffffffffffffb0 15=ff0702ffffffffffffff16 ";
constexpr size_t kLimitQueryLength = 26;
const std::string kInit =
   "12=ff0700ffffffffffffff11 08=ff0700ffffffffffffff07 "
   "1c=ff0705ffffffffffffff20 1e=ff0700ffffffffffffff1d ";
const std::string kSystem = "20=ffffffffffffffffffff16 ";
const std::string kMap =
   "02=ff0208ffffffffffffff04 0e=ff0000000000010001ff0e 0e=ff0100000101010001ff11 "
   "0e=ff0200000202010001ff14 0e=ff0300000303010001ff17 0e=ff0401000405010001ff1c "
   "0e=ff0501000607010001ff21 0e=ff0601010001010001ff17 0e=ff0701010203010001ff1c "
   "02=ff03fffffffffffffffffc e0=f0ffffffffffffffffffc7 ";

const struct Row {
   int port;
   Operation run;
   std::string requests;
   const char* answers = "";
   Outputs expected = {};
   const char* arguments = "";
} kRows[] = {
   { 3, does( &Port::setPoePortPse, true ), "00=ff0301fffffffffffffffc " },
   { 3, does( &Port::setPoePortPse, false ), "00=ff0300fffffffffffffffb " },
   { 3, does( &Port::poePortPowerOn, true ), "01=ff0301fffffffffffffffd " },
   { 3, does( &Port::poePortPowerOn, false ), "03=ff0301ffffffffffffffff " },
   { 3, does( &Port::setPoePortLegacyDetect, true ), "10=ff0303ffffffffffffff0e " },
   { 3, does( &Port::setPoePortLegacyDetect, false ), "10=ff0302ffffffffffffff0d " },
   { 3, shutsOff( 0, true ), "1e=ff0302ffffffffffffff1b " },
   { 3, shutsOff( 1, true ), "1e=ff0304ffffffffffffff1d " },
   { 3, shutsOff( 2, true ), "1e=ff0310ffffffffffffff29 " },
   { 3, shutsOff( 3, true ), "" },
   { 3, shutsOff( 32, true ), "" },
   { 3, shutsOff( 2, true ), "1e=ff0301ffffffffffffff1a ", "", {}, "mpssValueZero=true" },
   { 3, shutsOff( 1, true ), "1e=ff0304ffffffffffffff1d ", "", {}, "mpssValueZero=True" },
   { 3, limits( 0, NAN ), "15=ff0301ffffffffffffff11 " },
   { 3, limits( 1, 15.4f ), "16=ff0350ffffffffffffff61 15=ff0302ffffffffffffff12 " },
   { 7, limits( 1, 60 ), kLimitRequests, "3d=000000000014" },
   { 7, limits( 1, 30 ), kLimitRequests, "3d=001400000004" },
   { 3, kVolts, kVoltsRequest, "30=0003e8", { 64.45f } },
   { 3, reads( &Port::getPoePortCurrent ), kVoltsRequest, "30=0000000180", { 0.384f } },
   { 3, kCelsius, kVoltsRequest, "30=00000000000078", { 125 } },
   { 3, kCelsius, kVoltsRequest, "30=000000000000dc", { 0 } },
   { 3,
     kPower,
     kVoltsRequest + "3c=ff03ffffffffffffffff36 ",
     "30=000000000000000284; 3c=000140ffff",
     { 64.4f, 32.0f, -0.1f } },
   { 7, kState, kStateRequests, "21=0000000000000000; 3d=000000000000", { 0, 0, 0, 0 } },
   { 7, kState, kStateRequests, "21=0001030000000001; 3d=000400000005", { 1, 2, 1, 1 } },
   { 7, kState, kStateRequests, "21=0002000000000003; 3d=001400000001", { 4, 4, 1, 3 } },
   { 7, kState, kStateRequests, "21=0003030000000004; 3d=000000000024", { 5, 1, 2, 0 } },
   { 7, kState, kStateRequests, "21=0004030000000002; 3d=000000000000", { 6, 1, 1, 2 } },
   { 7, kState, kStateRequests, "21=0005040000000000; 3d=000000000000", { 1, 1, 1, 0 } },
   { 7, kState, kStateRequests, "21=0005050000000000; 3d=000000000000", { 5, 1, 1, 0 } },
   { 7, kState, kStateRequests, "21=0080030000000000; 3d=000000000000", { 5, 1, 1, 0 } },
   { 7, kState, kStateRequests, "21=000600000000000002; 3d=001400000014", { 3, 2, 2, 0 } },
   { 7, kState, kStateRequests, "21=000600000000000001; 3d=001400000014", { 2, 2, 2, 0 } },
   { 7, kState, kStateRequests, "21=000600000000000002; 3d=001400000004", { 2, 2, 2, 0 } },
   { 3, kState, kState3Requests, "21=000600000000000002; 3d=001400000014", { 2, 2, 2, 0 } },
   { 3, kClass, kState3Requests, "21=00000008; 3d=00000900000080", { 8, 9, 9 } },
   { 3, kClass, kState3Requests, "21=0000000a; 3d=00000000000004", { 9, 0, 4 } },
   { 3, kCrc, "2d=ff0001ffffffffffffff26 ", "2d=00000000000000", { 1 } },
   { 7, kCrc, "2d=ff0101ffffffffffffff27 ", "", { 1 }, "numAtPorts=0" },
   { 7, kCrc, "4c=ff0001ffffffffffffff45 ", "4c=fbfbfbfbfbfbfbfbfb", { 1 }, "firmwarePath=x" },
   { 7, kCrc, "4c=ff0001ffffffffffffff45 ", "4c=000000000000000004", { 0 }, "firmwarePath=x" },
};

// Each step fails in turn: the status comes back, outputs stay, nothing more is sent, and the next
// call is as if nothing had been. A port that the controller does not have is sent nothing.
TEST( Poe, OperationsSendTheirRequestsOrLeaveNoTrace ) {
   for ( const Row& row : kRows ) {
      SCOPED_TRACE( &row - kRows );
      auto steps = 2 * static_cast< size_t >( std::ranges::count( row.requests, ' ' ) );
      for ( size_t step = 1; step <= steps + 1; ++step ) {
         PoeController controller( row.arguments, row.answers );
         auto port = controller.port( row.port );
         Outputs out;
         if ( step <= steps ) {
            controller.failNth( step, PL_STATUS_FAILURE );
            EXPECT_EQ( row.run( *port, out ), PL_STATUS_FAILURE );
            EXPECT_EQ( controller.log.size(), step );
            EXPECT_THAT( out, Each( kBefore ) );
            controller.requests();
         }
         EXPECT_EQ( row.run( *port, out ), PL_STATUS_OK );
         // A setting does not ask again for what it was answered.
         bool isKept = row.requests.starts_with( "3d" ) && step > 2 && step <= steps;
         EXPECT_EQ( controller.requests(), row.requests.substr( isKept ? kLimitQueryLength : 0 ) );
         EXPECT_THAT( out, Pointwise( FloatEq(), row.expected ) );
         EXPECT_EQ( row.run( *controller.port( 8 ), out ), PL_STATUS_UNSUPPORTED );
         EXPECT_THAT( controller.log, IsEmpty() );
      }
   }
}

// Steps of the set-up that fail do not keep the others from being taken.
TEST( Poe, SetUpGoesOnAfterAFailure ) {
   const std::string global = "17=ff00ffffffffffffffff0e 0a=ff6d012f01ffffffffffa2 ";
   std::vector< long > mapWaits( 15, 12000 );
   mapWaits[ 0 ] = 4000;
   mapWaits[ 2 ] = mapWaits[ 12 ] = mapWaits[ 14 ] = 400000;
   const std::tuple< bool, std::string, std::vector< long > > rows[] = {
      { false, kSystem + global + kInit, { 4000, 20000, 4000, 4000, 4000, 4000, 4000 } },
      { true, kSystem + kMap, mapWaits },
   };
   for ( const auto& [ isMapping, requests, waits ] : rows ) {
      auto steps = 2 * static_cast< size_t >( std::ranges::count( requests, ' ' ) );
      for ( size_t step = 1; step <= steps + 1; ++step ) {
         PoeController controller;
         auto port = controller.port( 7 );
         PoeController::pauses.clear();
         controller.failNth( step, PL_STATUS_FAILURE );
         EXPECT_EQ(
            isMapping ? controller.device->configPortMap( port.get() ) : port->poePortInit(),
            step <= steps ? PL_STATUS_FAILURE : PL_STATUS_OK );
         EXPECT_EQ( controller.requests(), requests );
      }
      EXPECT_EQ( PoeController::pauses, waits );
   }
}

TEST( Poe, SetUpIsDoneOnce ) {
   PoeController controller( "", "20=00000000000000ff" );
   auto port = controller.port( 7 );
   EXPECT_EQ( controller.port( 0 )->poePortInit(), PL_STATUS_OK );
   EXPECT_EQ( port->setPoePortShutOffWithPsu( 0, true ), PL_STATUS_OK );
   controller.log.clear();
   EXPECT_EQ( port->setPoePortShutOffWithPsu( 0, true ), PL_STATUS_OK );
   EXPECT_EQ( port->poePortInit(), PL_STATUS_OK );
   EXPECT_EQ( controller.requests(), kInit );
   EXPECT_EQ( port->setPoePortShutOffWithPsu( 0, true ), PL_STATUS_OK );
   EXPECT_EQ( controller.requests(), "1e=ff0702ffffffffffffff1f " );
   EXPECT_EQ( controller.device->configPortMap( port.get() ), PL_STATUS_OK );
   EXPECT_EQ( controller.requests(), kSystem );
}

// An empty answer is asked for even right after the clock's start.
TEST( Poe, AnswersLastTwoSeconds ) {
   PoeController controller( "", "30=0003e8" );
   auto port = controller.port( 3 );
   Outputs out;
   EXPECT_EQ( kPower( *port, out ), PL_STATUS_OK );
   controller.log.clear();
   EXPECT_EQ( kVolts( *port, out ), PL_STATUS_OK );
   EXPECT_THAT( out, ElementsAre( FloatEq( 64.45f ) ) );
   EXPECT_EQ( controller.requests(), "" );
   timespec now;
   clock_gettime( CLOCK_MONOTONIC, &now );
   for ( auto [ response, age, sent ] :
         { std::tuple( "", 0, true ), { "x", 1, false }, { "x", 2, true } } ) {
      timespec last{ now.tv_sec - age, now.tv_nsec };
      std::string kept = response;
      EXPECT_EQ( controller.device->queryPort( 3, 0x30, kept, last ), PL_STATUS_OK );
      EXPECT_EQ( controller.requests() != "", sent ) << age;
   }
}

TEST( Poe, BadAnswersAreToldApart ) {
   const std::tuple< const char*, size_t, pl_status, const char* > rows[] = {
      { "!fefffffffffffffffffffff4", 12, PL_STATUS_DEVICE_ERROR,
        "0 Error: Failed to read PoE chip. Error code: fffffffe" },
      { "!30fffffffffffffffffffff4", 12, PL_STATUS_IO_ERROR, "0 Error: Checksum invalid" },
      { "!fefffffffffffffffffffff4", 11, PL_STATUS_IO_ERROR, "0 Error: Checksum invalid" },
      { "!fefffffffffffffffffffff4", 0, PL_STATUS_IO_ERROR, "0 Error: Checksum invalid" },
   };
   Tests::TraceLog traces;
   for ( const auto& [ answer, received, status, trace ] : rows ) {
      PoeController controller;
      controller.answers = { { "30", answer }, { "00", answer } };
      controller.received = received;
      auto port = controller.port( 3 );
      Outputs out;
      EXPECT_EQ( kVolts( *port, out ), status );
      EXPECT_EQ( traces.take().back(), trace );
      EXPECT_THAT( out, ElementsAre( kBefore ) );
      EXPECT_EQ( port->setPoePortPse( true ), status );
      EXPECT_EQ( traces.take().back(), trace );
      EXPECT_EQ( controller.device->configCustom( 0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 1, false ),
                 PL_STATUS_OK );
      EXPECT_EQ( controller.log.back(), "W11 00=0102030405060708090a37" );
   }
}

TEST( Poe, TracesSayWhatIsDone ) {
   Tests::TraceLog traces;
   PoeController controller;
   auto port = controller.port( 256 + 3 );
   EXPECT_EQ( port->setPoePortShutOffWithPsu( 3, false ), PL_STATUS_OK );
   EXPECT_EQ( port->poePortInit(), PL_STATUS_OK );
   controller.failOn( "W", PL_STATUS_FAILURE );
   Outputs out;
   EXPECT_EQ( kCrc( *port, out ), PL_STATUS_FAILURE );
   EXPECT_EQ( controller.device->configPortMap( port.get() ), PL_STATUS_FAILURE );
   controller.failOn( "R", PL_STATUS_FAILURE );
   EXPECT_EQ( port->setPoePortPse( true ), PL_STATUS_FAILURE );
   for ( const char* line :
         { "0 Creating new BCM59121 PoE port id 3", "0 PoE port init: configuring PoE port 3",
           "6 pl_status Drivers::BCM59121::setShutOffWithPsu(Drivers::BCM59121::PoePort*, uint8_t, "
           "bool)",
           "0 Global level configurations.", "0 Configuring 4-pair port mapping",
           "0 Error: Failed to write to PoE chip. Command: 2d.",
           "0 Error: Failed to write to PoE chip. Command: e0",
           "0 Error: Failed to read PoE chip" } ) {
      EXPECT_THAT( traces.lines, Contains( line ) );
   }
}

// Three faults are tolerated; then the controller corrects its memory until the group is good.
TEST( Poe, CrcFaultsAreBelievedWhenTheyLast ) {
   Tests::TraceLog traces;
   PoeController controller( "numPorts=12" );
   const std::tuple< int, const char*, int, float, const char* > rows[] = {
      { 4, "00", 3, 1, "2d=ff0001ffffffffffffff26 " },
      { 5, "00", 4, 0, "2d=ff0001ffffffffffffff26 4e=ff0101ffffffffffffff48 " },
      { 8, "01", 1, 1, "2d=ff0101ffffffffffffff27 " },
      { 6, "01", 1, 1, "2d=ff0001ffffffffffffff26 4e=ff0100ffffffffffffff47 " },
   };
   for ( const auto& [ id, good, times, ok, requests ] : rows ) {
      controller.answers[ "2d" ] = std::string( "000000000000" ) + good;
      auto port = controller.port( id );
      Outputs out;
      for ( int i = 0; i < times; ++i ) {
         EXPECT_EQ( kCrc( *port, out ), PL_STATUS_OK );
      }
      EXPECT_THAT( out, ElementsAre( ok ) );
      EXPECT_EQ( controller.requests(), requests );
   }
   EXPECT_THAT( traces.lines, IsSupersetOf( { "0 CRC autocorrect has been enabled.",
                                              "0 CRC autocorrect has been disabled." } ) );
   PoeController withFirmware( "firmwarePath=poe" );
   EXPECT_EQ( withFirmware.device->setCrcAutocorrect( false ), PL_STATUS_OK );
   EXPECT_EQ( withFirmware.requests(), "4e=ff0101ffffffffffffff48 " );
}

TEST( Poe, SimulatedControllersAreNotReady ) {
   Drivers::Poe::pause = []( auto ) {};
   Ham::SimHam ham;
   auto device =
      Tests::createDevice( "BCM59121", ham, Tests::pairsOf( "numPorts=8; numAtPorts=4" ) );
   auto port = device->newPoePort( Tests::argumentsOf( { { "portId", "3" } } ) );
   float volts;
   EXPECT_EQ( port->getPoePortVoltage( &volts ), PL_STATUS_DEVICE_ERROR );
   EXPECT_EQ( port->poePortInit(), PL_STATUS_DEVICE_ERROR );
}

TEST( Poe, ReportsSayWhichSectionFailed ) {
   PoeController controller( "",
                             "21=0305030401120003; 25=03010003010207; 30=0303e800800078"
                             "0053; 20=023001e12107030a01; 22=!737a; 23=!fe0000000000000000"
                             "0000fe; 2b=64000300001406; 3d=0014050000010c" );
   controller.silent = 0x26;
   char* text;
   ASSERT_EQ( controller.port( 3 )->getPoePortInformation( &text ), PL_STATUS_OK );
   EXPECT_EQ( text, Tests::textOf( LUMEN_SOURCE_DIR "/Tests/library/poe-port.txt" ) );
   free( text );
   ASSERT_EQ( controller.port( 3 )->debugInfo( &text, true ), PL_STATUS_OK );
   for ( const char* lines :
         { "Limits:                   SMBus error\nMeas", "  Bytes:                  73 7a 00",
           "Channels\n  Primary:                0x14, class 5\n"
           "  Alternative:            0x01, class unknown\n"
           "  Bytes:                  3d ff 00 14 05 00 00 01 0c ff ff 60\n",
           "Device\n  Under-voltage lock-out: 39.45 V\n  Over-voltage lock-out:  58.29 V\n" } ) {
      EXPECT_THAT( text, HasSubstr( lines ) );
   }
   free( text );
}

}  // namespace
