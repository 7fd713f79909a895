#include <gmock/gmock.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>

#include "Host/Session/Session.h"
#include "Host/Session/SettingOperations.h"
#include "Host/Session/UseError.h"
#include "Tests/host/Adapters.h"
#include "Tests/support/TemporaryDirectory.h"

using testing::ElementsAre;

namespace Host {

using namespace BoardFiles;
namespace {

constexpr auto kLimit = std::chrono::milliseconds( 300 );
constexpr auto kRetry = std::chrono::milliseconds( 400 );
const std::string kRequest = "no acknowledge from device 0x48";
const std::string kGaveUp = "the driver gave up; --trace 0 shows why";
const std::string kNoService = "SMBus service at /nonexistent: the connection broke";

class SessionTest : public testing::Test {
 protected:
   SessionTest() { setenv( "SIMULATION_VMID", "1", 1 ); }

   // Sensors that do what their words say.
   void add( std::initializer_list< const char* > sensors ) {
      for ( const char* words : sensors ) {
         board.objects.push_back( { .kind = Kind::TempSensor,
                                    .name = "",
                                    .device = words,
                                    .alert = 50,
                                    .critical = 60 } );
      }
   }

   // Of what the board has at the first use.
   Session& session() {
      if ( !session_ ) {
         session_.emplace(
            library, board,
            SessionOptions{ .socket = "/nonexistent", .stepLimit = kLimit, .firstRetry = kRetry } );
      }
      return *session_;
   }

   std::vector< Observation > read() { return session().read(); }

   std::vector< State > states() {
      std::vector< State > list;
      for ( const Observation& observation : read() ) {
         list.push_back( observation.state );
      }
      return list;
   }

   void awaitOk( size_t object ) {
      for ( int i = 0; i < 100 && session().latest()[ object ].state != State::Ok; ++i ) {
         session().await( kLimit );
      }
   }

   DriverLibrary library{ LUMEN_FAKE_LIBRARY };
   Board board{ .directory = "board", .topology = "" };

 private:
   std::optional< Session > session_;
};

TEST_F( SessionTest, FailsEachObjectThatMisbehavesAndNoOther ) {
   const std::tuple< const char*, State, std::string > rows[] = {
      { "add abort", State::Failed, kGaveUp },
      { "21.5", State::Ok, "" },
      { "throw", State::Failed, kGaveUp },
      { "add nak abort", State::Failed, kRequest },
      { "nak abort", State::Failed, kRequest },
      { "nak status3", State::Failed, "not supported: " + kRequest },
      { "nak status6", State::Failed, kRequest },
      { "unserved status4", State::Failed, kNoService },
      { "nak 20", State::Failed, kRequest },
      { "add nak then 20", State::Failed, "limits not set, or not all: " + kRequest },
      { "add other-kind", State::Failed, "the driver has no temp_sensor" },
      { "add status1", State::Failed, "the driver made no object of it; --trace 0 shows why" },
      { "add hang", State::Failed, "no answer within 0.3 s" },
      { "kill", State::Failed, "killed by signal 9 (Killed)" },
      { "add exit", State::Failed, "the driver ended with exit status 3; --trace 0 shows why" },
      { "nan", State::Fault, "the reading is no number" },
      { "status1", State::Absent, "" },
      { "status2", State::Fault, "the device reports an error" },
      { "status9", State::Failed, "status 9" },
      { "-7.25", State::Ok, "" },
   };
   for ( const auto& row : rows ) {
      add( { std::get< 0 >( row ) } );
   }
   for ( int round = 0; round < 2; ++round ) {
      auto observations = read();
      auto observation = observations.begin();
      for ( const auto& [ words, state, reason ] : rows ) {
         EXPECT_EQ( observation->state, state ) << words;
         EXPECT_EQ( observation->reason, reason ) << words;
         EXPECT_EQ( observation++->reading.has_value(), state == State::Ok ) << words;
      }
   }
   EXPECT_EQ( read().back().reading, -7.25 );
}

TEST_F( SessionTest, AddsSetsAndReadsOtherKinds ) {
   board.objects = {
      { Kind::System, "", "{}" }, { Kind::Led, "", "{}" },           { Kind::Led, "", "{}" },
      { Kind::Xcvr, "", "{}" },   { Kind::Smbus, "", "scd0", 0x48 }, { Kind::Slot, "", "{}" },
      { Kind::Fan, "", "{}" } };
   session().settingIs( 1, parseSetting( board.objects[ 1 ], "beacon" ) );
   session().settingIs( 2, parseSetting( board.objects[ 2 ], "Off" ) );
   session().settingIs( 6, { 20'000 } );
   EXPECT_THAT( states(), ElementsAre( State::Ok, State::Ok, State::Failed, State::Absent,
                                       State::Ok, State::Ok, State::Fault ) );
   EXPECT_EQ( read()[ 1 ].text, "Beacon" );
   EXPECT_EQ( read()[ 5 ].text, "FAN-7001-F" );
   EXPECT_EQ( read()[ 6 ].reason, "it has stopped, or its tachometer is silent" );
}

TEST( FanSettingTest, IsAnRpmOrAPercentageOfTheRange ) {
   ObjectSpec fan{ .kind = Kind::Fan, .name = "fan1", .device = "", .range = { 3601, 12000 } };
   for ( auto [ text, rpm ] : { std::pair( "7", 7 ), { "0%", 3601 }, { "12.5%", 4651 } } ) {
      EXPECT_EQ( parseSetting( fan, text ).number, rpm ) << text;
   }
   for ( const char* text : { "-1", "7rpm", "%", "100.1%", "-1%", "nan%", "50 %" } ) {
      EXPECT_THROW( parseSetting( fan, text ), UseError ) << text;
   }
   EXPECT_THROW( parseSetting( fan, "12001" ), UseError );
   fan.range.min = {};
   EXPECT_THROW( parseSetting( fan, "50%" ), UseError );
}

TEST_F( SessionTest, AddsAndSetsAnObjectOnceItsModuleIsThere ) {
   board.objects = { { Kind::Fan, "", "late" } };
   session().settingIs( 0, { 6000 } );
   EXPECT_EQ( read()[ 0 ].state, State::Absent );
   EXPECT_EQ( read()[ 0 ].state, State::Failed );
   EXPECT_EQ( read()[ 0 ].reading, 6000 );
   EXPECT_EQ( read()[ 0 ].reading, 6000 );
}

TEST_F( SessionTest, ComparesReadingsWithTheLimits ) {
   add( { "49.875", "50", "59.875", "60" } );
   board.objects.push_back( { .kind = Kind::Fan, .name = "", .device = "", .range = { 1, {} } } );
   board.objects.push_back( { .kind = Kind::Fan, .name = "", .device = "", .range = { 0, 1 } } );
   EXPECT_THAT( states(), ElementsAre( State::Ok, State::Alert, State::Alert, State::Critical,
                                       State::Critical, State::Ok ) );
   EXPECT_EQ( observed( board.objects.back(), { .value = -234 }, "" ).state, State::Fault );
}

TEST_F( SessionTest, KeepsOneWorkerAndRunsItsTimersBetweenReadsAndObjects ) {
   add( { "process", "ticks", "slow", "slow", "ticks" } );
   auto first = read();
   usleep( 100'000 );
   auto second = read();
   EXPECT_NE( first[ 0 ].reading, getpid() );
   EXPECT_EQ( first[ 0 ].reading, second[ 0 ].reading );
   EXPECT_GT( second[ 1 ].reading.value(), first[ 4 ].reading.value() + 2 );
   EXPECT_GT( second[ 4 ].reading.value(), second[ 1 ].reading.value() + 1 );
}

TEST_F( SessionTest, DoesNotInitialiseAgainWhatWasRead ) {
   Tests::TemporaryDirectory directory;
   std::string starts = directory.path() / "starts";
   board.topology = "+" + starts;
   add( { "process", "add abort", "add abort", "kill", "process" } );
   auto first = read();
   EXPECT_NE( first[ 0 ].reading, first[ 4 ].reading );
   auto second = read();
   EXPECT_EQ( second[ 0 ].reading, second[ 4 ].reading );
   EXPECT_EQ( std::filesystem::file_size( starts ), 2 );
   EXPECT_EQ( second[ 0 ].reading, read()[ 0 ].reading );
}

// Each hangs on an adapter of its own.
TEST_F( SessionTest, DelaysNoOtherLaneByOne ) {
   add( { "hang", "process" } );
   for ( uint32_t i = 0; i < 2; ++i ) {
      Tests::addAdapter( board.wiring, i );
      board.wiring.labels[ board.objects[ i ].device + "<0x00>" ] = i;
   }
   session().begin();
   while ( session().latest()[ 1 ].state == State::Pending ) {
      session().await( kLimit );
   }
   EXPECT_EQ( session().latest()[ 0 ].state, State::Pending );
   auto other = session().latest()[ 1 ].reading;
   EXPECT_EQ( read()[ 0 ].reason, "no answer within 0.3 s" );
   EXPECT_EQ( read()[ 1 ].reading, other );
}

TEST_F( SessionTest, TriesAgainWhatKilledAWorkerBesideTheOthers ) {
   Tests::TemporaryDirectory directory;
   std::string cure = directory.path() / "cure";
   add( { "process", ( cure + " 42" ).c_str(), "abort", "kill",
          ( "add ?" + cure + " then 43" ).c_str() } );
   EXPECT_EQ( read()[ 1 ].reason, kGaveUp );
   auto other = read()[ 0 ].reading;
   std::ofstream{ cure };
   EXPECT_EQ( read()[ 1 ].reason, kGaveUp );  // too early
   usleep( 500'000 );
   session().begin();
   awaitOk( 1 );
   awaitOk( 4 );
   EXPECT_EQ( read()[ 1 ].reading, 42 );
   EXPECT_EQ( read()[ 4 ].reading, 43 );
   EXPECT_EQ( read()[ 0 ].reading, other );
}

// Two objects of one chip, and one of another on the same adapter.
TEST_F( SessionTest, MakesTheObjectsOfAChipThatWasAwayAnew ) {
   Tests::TemporaryDirectory directory;
   std::string chip = directory.path() / "chip";
   std::string made = directory.path() / "made";
   std::string words = "add +" + made + " then !" + chip + " 42";
   add( { words.c_str(), words.c_str(), "process" } );
   Tests::addAdapter( board.wiring, 0 );
   board.wiring.devices[ 1 ] = board.wiring.devices[ 0 ];
   board.wiring.labels = { { words + "<0x00>", 0 }, { "process<0x00>", 1 } };
   std::ofstream{ chip };
   auto other = read()[ 2 ].reading;
   std::filesystem::remove( chip );
   EXPECT_EQ( read()[ 0 ].reason, kRequest );
   std::ofstream{ chip };
   EXPECT_EQ( read()[ 1 ].reason, "did not answer, and does again: to be set up anew" );
   awaitOk( 0 );
   awaitOk( 1 );
   EXPECT_EQ( std::filesystem::file_size( made ), 4 );
   EXPECT_EQ( read()[ 2 ].reading, other );
   EXPECT_EQ( std::filesystem::file_size( made ), 4 );
}

// A new worker shows that the object is tried again.
TEST_F( SessionTest, BlamesNoObjectForTheService ) {
   add( { "process", "add unserved abort" } );
   read();
   auto second = read();
   auto third = read();
   EXPECT_NE( second[ 0 ].reading, third[ 0 ].reading );
   EXPECT_EQ( third[ 1 ].reason, kNoService );
}

TEST_F( SessionTest, DoesNotCountTheTimeInWhichItIsStopped ) {
   add( { "slow 20" } );
   setpgid( 0, 0 );
   pid_t group = getpid();
   pid_t stopper = fork();
   if ( stopper == 0 ) {
      setpgid( 0, 0 );
      usleep( 50'000 );
      kill( -group, SIGSTOP );
      usleep( 2 * 1000 * kLimit.count() );
      kill( -group, SIGCONT );
      _exit( 0 );
   }
   EXPECT_EQ( read()[ 0 ].reason, "" );
   waitpid( stopper, nullptr, 0 );
}

TEST_F( SessionTest, TellsWhyTheLibraryDoesNotStart ) {
   add( { "20" } );
   const std::string why = "the driver library does not start: ";
   board.topology = "status4";
   EXPECT_EQ( read()[ 0 ].reason, why + "pl_temp_sensor_init: I/O error" );
   board.topology = "abort";
   EXPECT_EQ( read()[ 0 ].reason, why + kGaveUp );
}

}  // namespace
}  // namespace Host
