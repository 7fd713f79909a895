#include <gmock/gmock.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>

#include "Host/Session/Session.h"

namespace Host {

using namespace BoardFiles;
namespace {

constexpr auto kLimit = std::chrono::milliseconds( 300 );
const std::string kRequest = "no acknowledge from device 0x48";
const std::string kGaveUp = "the driver gave up; --trace 0 shows why";
const std::string kNoService = "SMBus service at /nonexistent: the connection broke";

class SessionTest : public testing::Test {
 protected:
   SessionTest() { setenv( "SIMULATION_VMID", "1", 1 ); }

   void addSensor( const std::string& driver ) {
      board.objects.push_back( { .kind = Kind::TempSensor,
                                 .name = driver,
                                 .device = "{\"driver\":\"" + driver + "\"}",
                                 .alert = 50,
                                 .critical = 60 } );
   }

   std::vector< Observation > read() { return session.read(); }

   DriverLibrary library{ LUMEN_FAKE_LIBRARY };
   Board board{ .directory = "board", .topology = "[]" };
   Session session{ library, board, { .socket = "/nonexistent", .stepLimit = kLimit } };
};

struct Row {
   std::string driver;
   State state;
   std::string reason;
};

TEST_F( SessionTest, FailsEachObjectThatMisbehavesAndNoOther ) {
   const Row rows[] = {
      { "abort", State::Failed, kGaveUp },
      { "21.5", State::Ok, "" },
      { "read-throw", State::Failed, kGaveUp },
      { "nak", State::Failed, kRequest },
      { "read-nak", State::Failed, kRequest },
      { "nak-status3", State::Failed, "not supported: " + kRequest },
      { "nak-status6", State::Failed, kRequest },
      { "unserved-status4", State::Failed, kNoService },
      { "other-kind", State::Failed, "the driver has no temp_sensor" },
      { "null", State::Failed, "the driver made no object of it; --trace 0 shows why" },
      { "hang", State::Failed, "no answer within 0.3 s" },
      { "read-kill", State::Failed, "killed by signal 9 (Killed)" },
      { "exit", State::Failed, "the driver ended with exit status 3; --trace 0 shows why" },
      { "nan", State::Fault, "the reading is no number" },
      { "status1", State::Absent, "" },
      { "status2", State::Fault, "the device reports an error" },
      { "status9", State::Failed, "status 9" },
      { "-7.25", State::Ok, "" },
   };
   for ( const Row& row : rows ) {
      addSensor( row.driver );
   }
   for ( int round = 0; round < 2; ++round ) {
      auto observations = read();
      for ( size_t i = 0; i < std::size( rows ); ++i ) {
         EXPECT_EQ( observations[ i ].state, rows[ i ].state ) << rows[ i ].driver;
         EXPECT_EQ( observations[ i ].reason, rows[ i ].reason ) << rows[ i ].driver;
         EXPECT_EQ( observations[ i ].reading.has_value(), rows[ i ].state == State::Ok );
      }
      EXPECT_EQ( observations.back().reading, -7.25 );
   }
}

TEST_F( SessionTest, AddsSetsAndReadsOtherKinds ) {
   board.objects = { { Kind::System, "", "{}" },
                     { Kind::Led, "", "{}" },
                     { Kind::Led, "", "{}" },
                     { Kind::Xcvr, "", "{}" },
                     { Kind::Smbus, "", "scd0", 0x48 } };
   session.settingIs( 1, parseSetting( board.objects[ 1 ], "beacon" ) );
   session.settingIs( 2, parseSetting( board.objects[ 2 ], "Off" ) );
   std::vector< State > states;
   for ( const Observation& observation : read() ) {
      states.push_back( observation.state );
   }
   EXPECT_THAT( states, testing::ElementsAre( State::Ok, State::Ok, State::Failed, State::Absent,
                                              State::Ok ) );
}

TEST( ObservationTest, ComparesReadingsWithTheLimits ) {
   const ObjectSpec sensor{
      .kind = Kind::TempSensor, .name = "", .device = "", .alert = 50, .critical = 60 };
   for ( auto [ reading, state ] : { std::pair( 49.875, State::Ok ),
                                     { 50., State::Alert },
                                     { 59.875, State::Alert },
                                     { 60., State::Critical } } ) {
      EXPECT_EQ( observed( sensor, { .value = reading }, "" ).state, state ) << reading;
   }
}

TEST_F( SessionTest, KeepsOneWorkerAndRunsItsTimersBetweenReads ) {
   addSensor( "process" );
   addSensor( "ticks" );
   auto first = read();
   usleep( 100'000 );
   auto second = read();
   EXPECT_NE( first[ 0 ].reading, getpid() );
   EXPECT_EQ( first[ 0 ].reading, second[ 0 ].reading );
   EXPECT_GT( second[ 1 ].reading.value(), first[ 1 ].reading.value() + 2 );
}

TEST_F( SessionTest, DoesNotInitialiseAgainWhatWasRead ) {
   for ( const char* driver : { "process", "abort", "process" } ) {
      addSensor( driver );
   }
   auto first = read();
   EXPECT_NE( first[ 0 ].reading, first[ 2 ].reading );
   auto second = read();
   EXPECT_EQ( second[ 0 ].reading, second[ 2 ].reading );
   EXPECT_EQ( second[ 0 ].reading, read()[ 0 ].reading );
}

// A new worker shows that the object is tried again.
TEST_F( SessionTest, BlamesNoObjectForTheService ) {
   addSensor( "process" );
   addSensor( "unserved" );
   read();
   auto second = read();
   auto third = read();
   EXPECT_NE( second[ 0 ].reading, third[ 0 ].reading );
   EXPECT_EQ( third[ 1 ].reason, kNoService );
}

TEST_F( SessionTest, DoesNotCountTheTimeInWhichItIsStopped ) {
   addSensor( "read-slow" );
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
   addSensor( "20" );
   for ( auto [ topology, why ] : { std::pair( "refuse", "pl_temp_sensor_init: I/O error" ),
                                    { "abort", kGaveUp.c_str() } } ) {
      board.topology = topology;
      EXPECT_EQ( read()[ 0 ].reason, "the driver library does not start: " + std::string( why ) );
   }
}

TEST_F( SessionTest, StopsWhenTheServiceIsGone ) {
   unsetenv( "SIMULATION_VMID" );
   for ( const char* driver : { "20", "unserved-status4", "hang" } ) {
      addSensor( driver );
   }
   auto observations = read();
   EXPECT_EQ( observations[ 0 ].state, State::Ok );
   EXPECT_EQ( observations[ 1 ].reason, kNoService );
   EXPECT_EQ( observations[ 2 ].reason, "no SMBus service answers any more at /nonexistent" );
}

}  // namespace
}  // namespace Host
