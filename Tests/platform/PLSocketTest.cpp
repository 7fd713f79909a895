#include <gmock/gmock.h>
#include <signal.h>
#include <sys/time.h>

#include <chrono>
#include <memory>

#include "PlatformLibrary/PLSocket.h"
#include "Tests/platform/ScriptedService.h"
#include "Tests/support/TemporaryDirectory.h"
#include "pl_host.h"

using namespace std::chrono_literals;
using namespace ScriptedService;

namespace {

constexpr auto kTimeout = 300ms;
constexpr auto kSlack = 2000ms;  // for a busy machine

class PLSocketTest : public testing::Test {
 protected:
   PLSocketTest() {
      setenv( "PL_SMBUS_SOCKET", path.c_str(), 1 );
      setenv( "PL_SMBUS_TIMEOUT_MS", std::to_string( kTimeout.count() ).c_str(), 1 );
   }
   ~PLSocketTest() override {
      unsetenv( "PL_SMBUS_SOCKET" );
      unsetenv( "PL_SMBUS_TIMEOUT_MS" );
      unsetenv( "SIMULATION_VMID" );
   }

   // The data that comes back, or the error's name.
   std::string exchange( const std::string& data ) {
      Smbus::TransactionRequest request;
      request.add_request()->set_data( data );
      Smbus::TransactionResponse* reply = nullptr;
      auto start = std::chrono::steady_clock::now();
      int error = client.sendRequestWait( &request, &reply ) < 0 ? errno : 0;
      auto elapsed = std::chrono::steady_clock::now() - start;
      EXPECT_GE( elapsed, error == ETIMEDOUT ? kTimeout : 0ms );
      EXPECT_LT( elapsed, kTimeout + kSlack );
      std::unique_ptr< Smbus::TransactionResponse > owned( reply );
      if ( error ) {
         EXPECT_EQ( reply, nullptr );
         EXPECT_EQ( pl_last_failure()->error, error );
         EXPECT_EQ( pl_last_failure()->answered, 0 );
         EXPECT_EQ( pl_last_failure()->text,
                    "SMBus service at " + path.string() + ": " + pl_last_failure()->reason );
         return strerrorname_np( error );
      }
      return owned && owned->response_size() == 1 ? owned->response( 0 ).data() : "no answer";
   }

   Tests::TemporaryDirectory directory;
   const std::filesystem::path path = directory.path() / "socket";
   PlatformLibrary::PLSocket client;
};

const std::string kAnswer( "\0\0\0\x09\x0a\x07\x0a\005first", 13 );

struct Reply {
   const char* name;
   const char* result;
   std::string sent;
   bool closes = false;
   std::chrono::milliseconds pause = 0ms;  // before each byte
};

const Reply kReplies[] = {
   { "ByteByByte", "first", kAnswer, false, 1ms },
   { "TooLong", "EPROTO", { 0, 16, 0, 1 } },
   { "Garbage", "EPROTO", { 0, 0, 0, 3, 0x0a, 99, 0 } },
   { "MoreThanOneFrame", "EPROTO", kAnswer + "more" },
   { "ClosedBeforeTheReply", "ECONNRESET", "", true },
   { "ClosedInTheLength", "ECONNRESET", kAnswer.substr( 0, 2 ), true },
   { "ClosedInThePayload", "ECONNRESET", kAnswer.substr( 0, 6 ), true },
   { "Never", "ETIMEDOUT", "" },
   { "StopsHalfway", "ETIMEDOUT", kAnswer.substr( 0, 6 ) },
   { "Trickles", "ETIMEDOUT", std::string( { 0, 0, 1, 0 } ) + std::string( 256, 'x' ), true, 20ms },
};

class PLSocketReplyTest : public PLSocketTest, public testing::WithParamInterface< Reply > {};

}  // namespace

TEST_P( PLSocketReplyTest, EndsInTimeAndTheNextRequestIsServedRight ) {
   const Reply& reply = GetParam();
   auto faulty = [ & ]( int fd ) {
      receive( fd );
      size_t step = reply.pause > 0ms ? 1 : reply.sent.size();
      for ( size_t at = 0; at < reply.sent.size(); at += step ) {
         std::this_thread::sleep_for( reply.pause );
         if ( !send( fd, reply.sent.substr( at, step ) ) ) {
            return;
         }
      }
      if ( !reply.closes ) {
         serve( fd );
      }
   };
   Server service( path, { faulty, serve } );
   ASSERT_EQ( client.setup(), 0 );
   EXPECT_EQ( exchange( "first" ), reply.result );
   EXPECT_EQ( exchange( "second" ), "second" );
   client.cleanup();
}

INSTANTIATE_TEST_SUITE_P( Replies,
                          PLSocketReplyTest,
                          testing::ValuesIn( kReplies ),
                          []( const auto& row ) { return row.param.name; } );

TEST_F( PLSocketTest, LateReplyIsNotTakenForTheNextAnswer ) {
   auto late = []( int fd ) {
      std::string request = receive( fd );
      waitFor( fd, POLLIN );  // the client closes, or asks again on this connection
      send( fd, answerTo( request ) );
   };
   Server service( path, { late, serve } );
   ASSERT_EQ( client.setup(), 0 );
   EXPECT_EQ( exchange( "first" ), "ETIMEDOUT" );
   EXPECT_EQ( exchange( "second" ), "second" );
   client.cleanup();
}

TEST_F( PLSocketTest, OneConnectionServesManyRequests ) {
   Server service( path, { serve } );
   ASSERT_EQ( client.setup(), 0 );
   for ( size_t size : { 0u, 1u, 100u, 5000u, 300000u, 1000000u, 2u } ) {
      std::string data( size, 'x' );
      EXPECT_EQ( exchange( data ), data );
   }
   EXPECT_EQ( exchange( std::string( 2 << 20, 'x' ) ), "EMSGSIZE" );
   EXPECT_EQ( exchange( "after" ), "after" ) << "the connection is as good as before";
   client.cleanup();
}

TEST_F( PLSocketTest, TimesOutWhenTheServiceDoesNotRead ) {
   Server service( path, { []( int fd ) { waitFor( fd, POLLRDHUP ); } } );
   ASSERT_EQ( client.setup(), 0 );
   EXPECT_EQ( exchange( std::string( 1000000, 'x' ) ), "ETIMEDOUT" );
}

TEST_F( PLSocketTest, SignalsDoNotDisturbAnExchange ) {
   auto slow = []( int fd ) {
      sigset_t signals;
      sigfillset( &signals );
      pthread_sigmask( SIG_BLOCK, &signals, nullptr );
      std::string reply = answerTo( receive( fd ) );
      for ( size_t at : { 0, 5 } ) {
         std::this_thread::sleep_for( kTimeout / 4 );
         send( fd, reply.substr( at, at ? std::string::npos : 5 ) );
      }
   };
   struct sigaction interrupt {};
   interrupt.sa_handler = []( int ) {};
   sigaction( SIGALRM, &interrupt, nullptr );
   Server service( path, { slow } );
   ASSERT_EQ( client.setup(), 0 );
   itimerval every{ .it_interval = { 0, 3000 }, .it_value = { 0, 3000 } };
   setitimer( ITIMER_REAL, &every, nullptr );
   EXPECT_EQ( exchange( "data" ), "data" );
   every = {};
   setitimer( ITIMER_REAL, &every, nullptr );
}

TEST_F( PLSocketTest, PicksUpARestartedService ) {
   auto service = std::make_unique< Server >( path, std::vector< Server::Script >{ []( int ) {} } );
   ASSERT_EQ( client.setup(), 0 );
   service->finish();
   EXPECT_EQ( exchange( "lost" ), "EPIPE" ) << "an error, no signal";
   service.reset();
   EXPECT_EQ( exchange( "nobody listens" ), "ECONNREFUSED" );
   Server restarted( path, { serve } );
   EXPECT_EQ( exchange( "back" ), "back" );
   EXPECT_EQ( exchange( "to stay" ), "to stay" );
   client.cleanup();
}

TEST_F( PLSocketTest, SetupSaysWhyItCannotConnect ) {
   const std::pair< std::filesystem::path, int > rows[] = {
      { path, ENOENT },
      { directory.path(), ECONNREFUSED },
      { directory.path() / std::string( 200, 'x' ), ENAMETOOLONG },
   };
   for ( const auto& [ socket, error ] : rows ) {
      setenv( "PL_SMBUS_SOCKET", socket.c_str(), 1 );
      errno = 0;
      EXPECT_EQ( client.setup(), -1 ) << socket;
      EXPECT_EQ( errno, error ) << socket;
   }
}

TEST_F( PLSocketTest, FailureOfAServiceWithoutDetailsIsToldAllTheSame ) {
   struct Row {
      int error;
      std::string reason;
      std::string answer;
   };
   const Row rows[] = {
      { ENXIO, "no chip", std::string( "\0\0\0\x0b\x12\x07no chip\x18\x06", 15 ) },
      { ENXIO, "No such device or address", std::string( "\0\0\0\x02\x18\x06", 6 ) },
      { EPROTO, "0 answers to 1 requests", std::string( 4, '\0' ) },
   };
   Server service( path, { [ & ]( int fd ) {
                      for ( const Row& row : rows ) {
                         receive( fd );
                         send( fd, row.answer );
                      }
                   } } );
   ASSERT_EQ( client.setup(), 0 );
   for ( const Row& row : rows ) {
      EXPECT_EQ( exchange( "data" ), "no answer" );
      const pl_service_failure& failure = *pl_last_failure();
      EXPECT_EQ( failure.error, row.error );
      EXPECT_EQ( failure.answered, 1 );
      EXPECT_EQ( failure.request, -1 );
      EXPECT_EQ( failure.reason, row.reason );
      EXPECT_EQ( failure.text, row.reason );
   }
}

TEST_F( PLSocketTest, SimulationHasNoConnection ) {
   Server service( path, { serve } );
   setenv( "SIMULATION_VMID", "7", 1 );
   EXPECT_EQ( client.setup(), 0 );
   EXPECT_EQ( exchange( "data" ), "ENOTCONN" );
}
