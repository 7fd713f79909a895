#include <fmt/format.h>
#include <gmock/gmock.h>

#include <cstdlib>

#include "Tests/endtoend/Service.h"
#include "Tests/support/FakeService.h"

using testing::HasSubstr;

namespace Tests {
namespace {

// Moves a quantity of an emulated chip.
void set( const Service& service, int did, const std::string& quantity, int value ) {
   std::string answer = service.tell( fmt::format(
      R"({{"op":"set","did":{},"quantity":"{}","value":{}}})", did, quantity, value ) );
   EXPECT_EQ( answer, "{\"ok\":true}\n" );
}

Outcome statusAt( const std::string& socket ) {
   return lumen( "--board Boards/demo --socket " + socket + " status" );
}

TEST( HostInC, ReadsATemperature ) {
   Service service( "lumen-smbusd --emulate Boards/minimal" );
   setenv( "PL_SMBUS_SOCKET", service.path.c_str(), 1 );
   Outcome outcome =
      Process(
         "ReadTemperature " LUMEN_BIN_DIR
         "/../lib/libLumenDriversCorvid.so "
         R"(Boards/minimal/topology.json '{"driver":"TMP75","did":1,"address":{"address":72}}')" )
         .wait();
   EXPECT_EQ( outcome.output, "31.500\n" ) << outcome.errors;
   EXPECT_EQ( outcome.status, 0 );
}

TEST( HostInC, TriesWhatMayKillIt ) {
   Service service( "lumen-smbusd --emulate Boards/minimal" );
   setenv( "PL_SMBUS_SOCKET", service.path.c_str(), 1 );
   auto host = [] {
      return Process(
                "TryTemperature Boards/minimal/topology.json "
                R"('{"driver":"TMP75","did":1,"address":{"address":72}}')" )
         .wait();
   };
   EXPECT_EQ( host().output, "31.500\n" );
   service.tell( R"({"op":"unplug","did":1})" );
   Outcome outcome = host();
   EXPECT_EQ( outcome.status, 1 );
   EXPECT_THAT( outcome.errors, testing::EndsWith( "the sensor kills its host: Aborted\n" ) );
   EXPECT_THAT( outcome.errors, HasSubstr( "Assertion" ) );
}

TEST( Emu, ReachesChipsByTheNamesOfTheBoard ) {
   Service service( "lumen-smbusd --emulate Boards/minimal" );
   const std::string board = "--board Boards/minimal ";
   const struct {
      std::string command;
      int status;
      const char* text;
   } rows[] = {
      { board + "emu set board temperature -7.5", 0, "" },
      { board + "emu get 1 temperature", 0, "-7.5\n" },
      { board + "emu get 'i2c<0x48>'", 0, "temperature  -7.5\n" },
      { board + "--json emu get board temperature", 0, "\"value\": -7.5,\n  \"ok\": true\n}\n" },
      { board + "emu fault board nak --skip 1", 0, "" },
      { board + "emu list", 0, "1 fault  temperature -7.5, " },
      { board + "emu clear", 0, "" },
      { board + "emu unplug board", 0, "" },
      { board + "emu list board", 0, "unplugged  temperature" },
      { board + "emu get bord", 2, "device id \"bord\"; did you mean \"board\"?" },
      { board + "emu get board temprature", 2, "did you mean \"temperature\"?" },
      { board + "emu set board temperature 200", 2,
        "can be -128 to 127.9375 on this chip, not 200" },
      { board + "emu set board temperature inf", 2, "inf is no number" },
      { board + "emu fault board nack", 2, "did you mean \"nak\"?" },
      { "--board Boards/demo emu list", 2, "another board than Boards/demo" },
      { board + "--emulate emu list", 2, "start one that stays" },
   };
   for ( const auto& row : rows ) {
      Outcome outcome = lumen( row.command + " --control " + service.control );
      EXPECT_EQ( outcome.status, row.status ) << row.command << outcome.errors;
      EXPECT_THAT( outcome.output + outcome.errors, HasSubstr( row.text ) ) << row.command;
   }
}

TEST( HostOfThisWidth, ReadsThroughAServiceOfTheOther ) {
   const char* otherBinaries = getenv( "LUMEN_OTHER_BIN_DIR" );
   if ( !otherBinaries ) {
      GTEST_SKIP() << "LUMEN_OTHER_BIN_DIR names no other build";
   }
   Service service( std::string( otherBinaries ) + "/lumen-smbusd --emulate Boards/demo" );
   Outcome outcome = statusAt( service.path );
   EXPECT_EQ( outcome.status, 0 ) << outcome.output << outcome.errors;
}

TEST( Service, IsMissedAtOnceAndWithAdvice ) {
   Outcome outcome = lumen( "--board Boards/demo --socket /none --json status" );
   EXPECT_EQ( outcome.status, 2 );
   EXPECT_EQ( outcome.errors,
              "lumen: no SMBus service answers at /none: No such file or directory; start one "
              "with: lumen-smbusd --emulate Boards/demo --socket /none, or use --emulate\n" );
   EXPECT_THAT( outcome.output, HasSubstr( "\"objects\": [],\n" ) );
   EXPECT_THAT( outcome.output, HasSubstr( "\"ok\": false\n" ) );
}

TEST( Service, ServesOneHostAfterAnotherUnlessItHangs ) {
   Service service( "lumen-smbusd --emulate Boards/demo" );
   EXPECT_EQ( statusAt( service.path ).status, 0 );
   service.process->signal( SIGSTOP );
   EXPECT_THAT( statusAt( service.path ).errors,
                HasSubstr( "no SMBus service answers at " + service.path ) );
   service.process->signal( SIGCONT );
   EXPECT_EQ( statusAt( service.path ).status, 0 );
   service.process->end( SIGTERM );
   EXPECT_EQ( statusAt( service.path ).status, 2 );
}

// Modules are pulled, stopped and put back while hosts come and go.
TEST( Service, TellsEveryHostWhatHandsDoToTheBoard ) {
   Service service( "lumen-smbusd --emulate Boards/demo" );
   auto host = [ & ]( const std::string& command ) {
      Outcome outcome = lumen( "--board Boards/demo --socket " + service.path + " " + command );
      return outcome.output + outcome.errors;
   };
   host( "set fan1 50%" );
   sleep( 1 );
   EXPECT_EQ( host( "get fan1" ), "6514 rpm\n" );
   set( service, 201, "present1", 0 );
   EXPECT_EQ( host( "get fan1" ) + host( "get fan1-slot" ), "absent\nabsent\n" );
   set( service, 201, "present1", 1 );
   EXPECT_EQ( host( "get fan1" ) + host( "get fan1-slot" ),
              "6514 rpm\nFAN-7001-F, front to back\n" );
   set( service, 303, "outerStopped1", 1 );
   EXPECT_EQ( host( "get rear2-outer" ),
              "critical\nlumen: rear2-outer: it has stopped, or its tachometer is silent\n" );
}

// Hosts that come and go change no port but the one that they are told to.
TEST( Service, PowersWhatIsPluggedInAndIsToldOfNothingElse ) {
   Service service( "lumen-smbusd --emulate Boards/poe48" );
   auto poe = [ & ]( const std::string& command ) {
      return lumen( "--board Boards/poe48 --socket " + service.path + " " + command ).output;
   };
   auto commands = [ & ] {
      return service.tell( R"({"op":"get","did":1,"quantity":"commands"})" );
   };
   set( service, 1, "class5", 4 );
   set( service, 1, "draw5", 20 );
   set( service, 1, "device5", 1 );
   EXPECT_THAT( poe( "poe" ), HasSubstr( "port6   enabled   delivering      4   20.0  class" ) );
   set( service, 1, "draw5", 31 );
   std::string table = poe( "poe" );
   EXPECT_THAT( table, HasSubstr( "port6   enabled   fault           4    0.0" ) );
   EXPECT_THAT( table, HasSubstr( "port1   enabled   delivering      4   12.5" ) );
   EXPECT_THAT( table, HasSubstr( "overload detected\n" ) );
   EXPECT_THAT( poe( "poe port6" ), HasSubstr( "Status detail:          overload\n" ) );
   EXPECT_THAT( commands(), HasSubstr( "\"value\":0.0" ) );
   set( service, 1, "device47", 1 );
   poe( "set port48 on" );
   EXPECT_EQ( poe( "get port48" ), "5 W\n" );
   EXPECT_THAT( commands(), HasSubstr( "\"value\":1.0" ) );
}

// The recorded transfers are shown with the board's names, and bring the readings back.
TEST( Service, KeepsALogThatIsShownAndReplayed ) {
   TemporaryDirectory directory;
   std::string file = directory.path() / "wire.log";
   auto host = [ & ]( const Service& service, const std::string& command ) {
      return lumen( "--board Boards/demo --socket " + service.path + " " + command ).output;
   };
   std::string shown;
   {
      Service service( "lumen-smbusd --emulate Boards/demo --wire-log " + file );
      set( service, 100, "temperature", 64 );
      EXPECT_EQ( host( service, "get inlet" ), "64 C\n" );
      shown = host( service, "log --control " + service.control );
      EXPECT_THAT( shown, HasSubstr( "TMP75 0x48 read 2 bytes, register 0x00: 40 00 (" ) );
      EXPECT_THAT( shown, HasSubstr( fmt::format( "[client 2 of uid {}]\n", getuid() ) ) );
      service.process->end( SIGTERM );  // which writes the file to its end
   }
   EXPECT_EQ( lumen( "--board Boards/demo log --file " + file ).output, shown );
   Service service( "lumen-smbusd --emulate Boards/demo --replay " + file );
   EXPECT_EQ( host( service, "get inlet" ), "64 C\n" );
}

TEST( Service, SeesAChipThatLostItsPowerSetUpAnew ) {
   Service service( "lumen-smbusd --emulate Boards/minimal" );
   std::string host = "--board Boards/minimal --socket " + service.path;
   std::string file = service.directory.path() / "lines";
   Process watch( "lumen --json " + host + " watch --interval 0.1 >" + file );
   auto awaitLine = [ & ]( const std::string& text ) {
      for ( int i = 0; i < 200 && textOf( file ).find( text ) == std::string::npos; ++i ) {
         usleep( 100'000 );
      }
   };
   awaitLine( R"("state":"ok")" );
   service.tell( R"({"op":"unplug","did":1})" );
   awaitLine( "no acknowledge from TMP75" );
   service.tell( R"({"op":"plug","did":1})" );
   std::string configuration;
   for ( int i = 0; i < 50 && configuration != "0x40\n"; ++i ) {
      configuration = lumen( host + " smbus board read-byte 1" ).output;
   }
   EXPECT_EQ( configuration, "0x40\n" );
}

TEST( Service, SeesABeaconBlinkWhileItIsWatched ) {
   Service service( "lumen-smbusd --emulate Boards/demo" );
   Process host( "lumen --board Boards/demo --socket " + service.path +
                 " watch --interval 1 --set status-led=Beacon" );
   host.awaitOutput();
   std::string phases;
   for ( int i = 0; i < 50 && phases.find( "101" ) == phases.npos; ++i ) {
      std::string answer = service.tell( R"({"op":"get","did":305,"quantity":"pin2"})" );
      char phase = answer.find( "1.0" ) == answer.npos ? '0' : '1';
      if ( phases.empty() || phases.back() != phase ) {
         phases += phase;
      }
      usleep( 100'000 );
   }
   EXPECT_THAT( phases, HasSubstr( "101" ) );
}

// It answers the program, which looks whether it is there, but not the library.
TEST( Service, StopsTheProgramWithoutBlamingTheChipsWhenItFallsSilent ) {
   setenv( "PL_SMBUS_TIMEOUT_MS", "300", 1 );
   FakeService service( { &FakeService::serveOne } );
   std::string socket = getenv( "PL_SMBUS_SOCKET" );
   Outcome outcome = statusAt( socket );
   EXPECT_EQ( outcome.status, 1 );
   EXPECT_THAT( outcome.output, HasSubstr( "failed: SMBus service at " + socket +
                                           ": no answer within 300 ms\nintake-duct " ) );
   EXPECT_THAT( outcome.output,
                HasSubstr( "failed: no SMBus service answers any more at " + socket ) );
}

}  // namespace
}  // namespace Tests
