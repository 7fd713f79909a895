#include <gmock/gmock.h>
#include <unistd.h>

#include <cstdlib>

#include "BoardFiles/Finding.h"
#include "Host/Session/Session.h"

using testing::HasSubstr;

namespace Host {

using namespace BoardFiles;
namespace {

constexpr auto kLimit = std::chrono::milliseconds( 300 );
constexpr const char* kRequest = "request 1 of 2: read 2 bytes, device 0x48, bus 1: no acknowledge";

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

   std::vector< Row > read() { return session.read(); }

   Library library = loadLibrary( LUMEN_FAKE_LIBRARY );
   Board board{ .directory = "board", .topology = "[]" };
   Session session{ library, board, { .socket = "/nonexistent", .stepLimit = kLimit } };
};

struct Misbehaviour {
   const char* driver;
   State state;
   std::string reason;
};

class MisbehaviourTest : public SessionTest, public testing::WithParamInterface< Misbehaviour > {};

TEST_P( MisbehaviourTest, FailsOneObjectAndLeavesTheOthers ) {
   addSensor( "21.5" );
   addSensor( GetParam().driver );
   addSensor( "-7.25" );

   for ( int round = 0; round < 2; ++round ) {
      auto rows = read();
      ASSERT_EQ( rows.size(), 3u );
      EXPECT_EQ( rows[ 0 ].reading, 21.5 );
      EXPECT_EQ( rows[ 0 ].state, State::Ok );
      EXPECT_EQ( rows[ 1 ].reading, std::nullopt );
      EXPECT_EQ( rows[ 1 ].state, GetParam().state );
      EXPECT_EQ( rows[ 1 ].reason, GetParam().reason );
      EXPECT_EQ( rows[ 2 ].reading, -7.25 );
      EXPECT_EQ( rows[ 2 ].state, State::Ok );
   }
}

const std::string kAssertion =
   std::string( kRequest ) + "; Drivers/Fake.cpp:7: void Fake::init(): Assertion `chip' failed.";

INSTANTIATE_TEST_SUITE_P(
   All,
   MisbehaviourTest,
   testing::Values(
      Misbehaviour{ "abort", State::Failed, kAssertion },
      Misbehaviour{ "read-abort", State::Failed, kAssertion },
      Misbehaviour{ "throw", State::Failed, "exception: stof" },
      Misbehaviour{ "read-throw", State::Failed, "exception: stof" },
      Misbehaviour{ "throw-number", State::Failed, "exception of unknown type" },
      Misbehaviour{ "hang", State::Failed, "no answer within 0.3 s" },
      Misbehaviour{ "read-hang", State::Failed, "no answer within 0.3 s" },
      Misbehaviour{ "kill", State::Failed, "killed by signal 9 (Killed)" },
      Misbehaviour{ "read-exit", State::Failed, "nothing to do here" },
      Misbehaviour{ "null", State::Failed, "driver null not found" },
      Misbehaviour{ "nan", State::Fault, "the reading is no number" },
      Misbehaviour{ "status1", State::Absent, "" },
      Misbehaviour{ "status2", State::Fault,
                    std::string( "the device reports an error: " ) + kRequest },
      Misbehaviour{ "status3", State::Failed, std::string( "not supported: " ) + kRequest },
      Misbehaviour{ "status4", State::Failed,
                    "I/O error: SMBus service: 104, Connection reset by peer" },
      Misbehaviour{ "status6", State::Failed, std::string( "service failure: " ) + kRequest },
      Misbehaviour{ "status9", State::Failed, std::string( "status 9: " ) + kRequest } ),
   []( const auto& row ) {
      std::string name = row.param.driver;
      std::erase( name, '-' );
      return name;
   } );

TEST_F( SessionTest, SurvivesABoardOfNothingButFailures ) {
   for ( const char* driver : { "abort", "kill", "read-abort", "null", "throw", "read-exit" } ) {
      addSensor( driver );
   }
   for ( const Row& row : read() ) {
      EXPECT_EQ( row.state, State::Failed ) << row.object->name;
      EXPECT_NE( row.reason, "" ) << row.object->name;
   }
}

TEST_F( SessionTest, ComparesReadingsWithTheLimits ) {
   for ( const char* driver : { "49.875", "50", "59.875", "60", "1000" } ) {
      addSensor( driver );
   }
   std::vector< State > states;
   for ( const Row& row : read() ) {
      states.push_back( row.state );
   }
   EXPECT_THAT( states, testing::ElementsAre( State::Ok, State::Alert, State::Alert,
                                              State::Critical, State::Critical ) );
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

TEST_F( SessionTest, AddsEveryKind ) {
   board.objects.push_back( { Kind::System, "chassis", "{}" } );
   board.objects.push_back( { Kind::Led, "status", "{\"driver\":\"\"}" } );
   board.objects.push_back( { Kind::Xcvr, "port", "{\"driver\":\"\"}" } );
   board.objects.push_back( { Kind::Smbus, "raw", "scd0", 0x48 } );
   for ( const Row& row : read() ) {
      EXPECT_EQ( row.state, State::Ok ) << row.object->name << ": " << row.reason;
      EXPECT_EQ( row.reading, std::nullopt ) << row.object->name;
   }
}

struct BadStart {
   const char* topology;
   std::string reason;
};

class BadStartTest : public SessionTest, public testing::WithParamInterface< BadStart > {};

TEST_P( BadStartTest, FailsEveryObjectWithTheReason ) {
   board.topology = GetParam().topology;
   addSensor( "20" );
   addSensor( "30" );
   for ( const Row& row : read() ) {
      EXPECT_EQ( row.state, State::Failed );
      EXPECT_THAT( row.reason, HasSubstr( GetParam().reason ) );
   }
}

INSTANTIATE_TEST_SUITE_P( All,
                          BadStartTest,
                          testing::Values( BadStart{ "refuse", "pl_temp_sensor_init: I/O error" },
                                           BadStart{ "abort", "Assertion `chip' failed." },
                                           BadStart{ "hang", "no answer within 0.3 s" } ) );

TEST_F( SessionTest, StopsWhenTheServiceIsGone ) {
   unsetenv( "SIMULATION_VMID" );
   addSensor( "20" );
   addSensor( "abort" );
   addSensor( "hang" );
   auto rows = read();
   EXPECT_EQ( rows[ 1 ].reason, kAssertion );
   EXPECT_EQ( rows[ 2 ].state, State::Failed );
   EXPECT_EQ( rows[ 2 ].reason, "no SMBus service answers any more at /nonexistent" );
}

TEST( LibraryTest, SaysWhatIsWrongWithTheFile ) {
   auto problem = []( const char* path ) -> std::string {
      try {
         loadLibrary( path );
      } catch ( const StartError& error ) {
         return error.what();
      }
      return "";
   };
   EXPECT_THAT( problem( "/nonexistent/libNone.so" ), HasSubstr( "/nonexistent/libNone.so" ) );
   EXPECT_EQ( problem( "libm.so.6" ), "libm.so.6 is no driver library: it has no pl_system_init" );
}

}  // namespace
}  // namespace Host
