#include <gmock/gmock.h>
#include <poll.h>
#include <signal.h>
#include <sys/time.h>
#include <sys/wait.h>

#include <chrono>
#include <memory>

#include "Platform/ServicePath.h"
#include "PlatformLibrary/PLSocket.h"
#include "Tests/support/FakeService.h"
#include "pl_host.h"

using namespace std::chrono_literals;
using namespace Tests;

namespace {

constexpr auto kTimeout = 500ms;
constexpr auto kSlack = 2000ms;  // for a busy machine

const auto serve = &FakeService::serve;

// Until the client closes, or asks again on this connection.
void waitForMore( int socket ) {
   pollfd entry{ socket, POLLIN, 0 };
   poll( &entry, 1, 10000 );
}

class PLSocketTest : public testing::Test {
 protected:
   PLSocketTest() {
      setenv( "PL_SMBUS_TIMEOUT_MS", std::to_string( kTimeout.count() ).c_str(), 1 );
   }

   // The data that comes back, or the error's name.
   std::string exchange( const std::string& data,
                         Smbus::RequestType type = Smbus::REQUEST_PROCESS_CALL ) {
      Smbus::TransactionRequest request;
      request.add_request()->set_data( data );
      request.mutable_request( 0 )->set_type( type );
      Smbus::TransactionResponse* reply = nullptr;
      auto start = std::chrono::steady_clock::now();
      int error = client.sendRequestWait( &request, &reply ) < 0 ? errno : 0;
      auto elapsed = std::chrono::steady_clock::now() - start;
      EXPECT_GE( elapsed, error == ETIMEDOUT ? kTimeout : 0ms );
      EXPECT_LT( elapsed, kTimeout + kSlack );
      std::unique_ptr< Smbus::TransactionResponse > owned( reply );
      if ( error ) {
         const pl_service_failure& failure = *pl_last_failure();
         EXPECT_EQ( reply, nullptr );
         EXPECT_EQ( failure.error, error );
         EXPECT_EQ( failure.answered, 0 );
         EXPECT_EQ( failure.text, std::string( "SMBus service at " ) +
                                     PlatformLibrary::servicePath() + ": " + failure.reason );
         return strerrorname_np( error );
      }
      return owned && owned->response_size() == 1 ? owned->response( 0 ).data() : "no answer";
   }

   PlatformLibrary::PLSocket client;
};

const std::string kAnswer( "\0\0\0\x09\x0a\x07\x0a\005first", 13 );
const std::string kOthersAnswer( "\0\0\0\x0e\x0a\x07\x0a\005first\x2d\xff\xff\xff\xff", 18 );

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
   { "OfAnotherRequest", "EPROTO", kOthersAnswer },
   { "ClosedBeforeTheReply", "ECONNRESET", "", true },
   { "ClosedInTheLength", "ECONNRESET", kAnswer.substr( 0, 2 ), true },
   { "ClosedInThePayload", "ECONNRESET", kAnswer.substr( 0, 6 ), true },
   { "Never", "ETIMEDOUT", "" },
   { "StopsHalfway", "ETIMEDOUT", kAnswer.substr( 0, 6 ) },
   { "Trickles", "ETIMEDOUT", std::string( { 0, 0, 1, 0 } ) + std::string( 256, 'x' ), true, 20ms },
};

class PLSocketReplyTest : public PLSocketTest, public testing::WithParamInterface< Reply > {};

}  // namespace

// A late reply, for example, is not taken for the next answer.
TEST_P( PLSocketReplyTest, EndsInTimeAndTheNextRequestIsServedRight ) {
   const Reply& reply = GetParam();
   auto faulty = [ & ]( FakeService& service, int socket ) {
      std::string request;
      receivePayload( socket, request );
      size_t step = reply.pause > 0ms ? 1 : reply.sent.size();
      for ( size_t at = 0; at < reply.sent.size(); at += step ) {
         std::this_thread::sleep_for( reply.pause );
         if ( !sendBytes( socket, reply.sent.substr( at, step ) ) ) {
            return;
         }
      }
      if ( reply.result == std::string( "first" ) ) {
         service.serve( socket );
      } else if ( !reply.closes ) {
         waitForMore( socket );
         sendBytes( socket, kAnswer );
      }
   };
   FakeService service( { faulty, serve } );
   ASSERT_EQ( client.setup(), 0 );
   EXPECT_EQ( exchange( "first" ), reply.result );
   EXPECT_EQ( exchange( "second" ), "second" );
}

INSTANTIATE_TEST_SUITE_P( Replies,
                          PLSocketReplyTest,
                          testing::ValuesIn( kReplies ),
                          []( const auto& row ) { return row.param.name; } );

TEST_F( PLSocketTest, OneConnectionServesManyRequests ) {
   FakeService service;
   ASSERT_EQ( client.setup(), 0 );
   for ( size_t size : { 0u, 1u, 100u, 5000u, 300000u, 1000000u, 2u } ) {
      std::string data( size, 'x' );
      EXPECT_TRUE( exchange( data ) == data ) << size;
   }
   EXPECT_EQ( exchange( std::string( 2 << 20, 'x' ) ), "EMSGSIZE" );
   EXPECT_EQ( exchange( "after" ), "after" ) << "the connection is as good as before";
}

TEST_F( PLSocketTest, BlockLongerThanACallersBufferBreaksTheConnection ) {
   FakeService service( { serve, serve } );
   ASSERT_EQ( client.setup(), 0 );
   std::string block( 255, 'x' );
   EXPECT_EQ( exchange( block, Smbus::REQUEST_BLOCK_READ ), block );
   EXPECT_EQ( exchange( block + 'x', Smbus::REQUEST_BLOCK_READ ), "EPROTO" );
   EXPECT_EQ( exchange( "after" ), "after" );
}

TEST_F( PLSocketTest, ForkedChildHasAConnectionOfItsOwn ) {
   auto serveOne = []( FakeService& service, int socket ) {
      service.serveOne( socket );
      waitForMore( socket );
   };
   FakeService service( { serveOne, serve } );
   ASSERT_EQ( client.setup(), 0 );
   EXPECT_EQ( exchange( "parent" ), "parent" );
   pid_t child = fork();
   if ( child == 0 ) {
      _exit( exchange( "child" ) == "child" ? 0 : 1 );
   }
   client.cleanup();  // the service, which serves one after the other, sees the end of the first
   int status;
   waitpid( child, &status, 0 );
   EXPECT_EQ( status, 0 );
}

TEST_F( PLSocketTest, TimesOutWhenTheServiceDoesNotRead ) {
   FakeService service( { []( FakeService&, int socket ) {
      pollfd entry{ socket, POLLRDHUP, 0 };
      poll( &entry, 1, 10000 );
   } } );
   ASSERT_EQ( client.setup(), 0 );
   EXPECT_EQ( exchange( std::string( 1000000, 'x' ) ), "ETIMEDOUT" );
}

TEST_F( PLSocketTest, SignalsDoNotDisturbAnExchange ) {
   struct sigaction interrupt {};
   interrupt.sa_handler = []( int ) {};
   sigaction( SIGALRM, &interrupt, nullptr );
   auto slow = []( FakeService&, int socket ) {
      sigset_t signals;
      sigfillset( &signals );
      pthread_sigmask( SIG_BLOCK, &signals, nullptr );
      std::string request;
      receivePayload( socket, request );
      for ( const std::string& part : { kAnswer.substr( 0, 5 ), kAnswer.substr( 5 ) } ) {
         std::this_thread::sleep_for( kTimeout / 4 );
         sendBytes( socket, part );
      }
   };
   FakeService service( { slow } );
   ASSERT_EQ( client.setup(), 0 );
   itimerval every{ .it_interval = { 0, 3000 }, .it_value = { 0, 3000 } };
   setitimer( ITIMER_REAL, &every, nullptr );
   EXPECT_EQ( exchange( "first" ), "first" );
   every = {};
   setitimer( ITIMER_REAL, &every, nullptr );
}

TEST_F( PLSocketTest, PicksUpARestartedService ) {
   auto leave = []( FakeService&, int ) {};
   auto service = std::make_unique< FakeService >( std::vector< FakeService::Script >{ leave } );
   ASSERT_EQ( client.setup(), 0 );
   service->finish();
   EXPECT_EQ( exchange( "lost" ), "EPIPE" ) << "an error, no signal";
   service.reset();
   EXPECT_EQ( exchange( "nobody listens" ), "ENOENT" );
   FakeService restarted;
   EXPECT_EQ( exchange( "back" ), "back" );
   EXPECT_EQ( exchange( "to stay" ), "to stay" );
}

TEST_F( PLSocketTest, SetupSaysWhyItCannotConnect ) {
   TemporaryDirectory directory;
   const std::pair< std::string, int > rows[] = {
      { directory.path() / "socket", ENOENT },
      { directory.path(), ECONNREFUSED },
      { directory.path() / std::string( 200, 'x' ), ENAMETOOLONG },
   };
   for ( const auto& [ socket, error ] : rows ) {
      setenv( "PL_SMBUS_SOCKET", socket.c_str(), 1 );
      EXPECT_EQ( client.setup(), -1 ) << socket;
      EXPECT_EQ( errno, error ) << socket;
      EXPECT_EQ( pl_last_failure()->error, error ) << socket;
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
   FakeService service( { [ & ]( FakeService&, int socket ) {
      for ( const Row& row : rows ) {
         std::string request;
         receivePayload( socket, request );
         sendBytes( socket, row.answer );
      }
   } } );
   ASSERT_EQ( client.setup(), 0 );
   for ( const Row& row : rows ) {
      EXPECT_EQ( exchange( "data" ), "no answer" );
      const pl_service_failure& failure = *pl_last_failure();
      EXPECT_EQ( failure.error, row.error );
      EXPECT_TRUE( failure.answered == 1 && failure.request == -1 ) << row.reason;
      EXPECT_TRUE( failure.reason == row.reason && failure.text == row.reason ) << failure.text;
   }
}

TEST_F( PLSocketTest, SimulationHasNoConnection ) {
   FakeService service;
   setenv( "SIMULATION_VMID", "7", 1 );
   EXPECT_EQ( client.setup(), 0 );
   EXPECT_EQ( exchange( "data" ), "ENOTCONN" );
}
