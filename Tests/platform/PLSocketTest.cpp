#include <gmock/gmock.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>

#include <chrono>
#include <optional>

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

void waitFor( int socket, short events ) {
   pollfd entry{ socket, events, 0 };
   poll( &entry, 1, 10000 );
}

class PLSocketTest : public testing::Test {
 protected:
   PLSocketTest() { setenv( "PL_SMBUS_TIMEOUT_MS", "500", 1 ); }  // kTimeout

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
      if ( !error ) {
         std::unique_ptr< Smbus::TransactionResponse > owned( reply );
         return reply->response_size() == 1 ? reply->response( 0 ).data() : "no answer";
      }
      const pl_service_failure& failure = *pl_last_failure();
      EXPECT_TRUE( !reply && failure.error == error && !failure.answered );
      EXPECT_EQ( failure.text, std::string( "SMBus service at " ) + PlatformLibrary::servicePath() +
                                  ": " + failure.reason );
      return strerrorname_np( error );
   }

   PlatformLibrary::PLSocket client;
};

const std::string kAnswer( "\0\0\0\x09\x0a\x07\x0a\005first", 13 );
const std::string kOthersAnswer( "\0\0\0\x0e\x0a\x07\x0a\005first\x2d\xff\xff\xff\xff", 18 );

struct Reply {
   const char* name;
   std::string result;
   std::string sent;
   bool closes = false;
   std::chrono::milliseconds pause = 0ms;  // before each byte
};

const Reply kReplies[] = {
   { "byte by byte", "first", kAnswer, false, 10ms },
   { "too long", "EPROTO", { 0, 16, 0, 1 } },
   { "garbage", "EPROTO", { 0, 0, 0, 3, 0x0a, 99, 0 } },
   { "more than one frame", "EPROTO", kAnswer + "more" },
   { "of another request", "EPROTO", kOthersAnswer },
   { "closed before the reply", "ECONNRESET", "", true },
   { "closed in the payload", "ECONNRESET", kAnswer.substr( 0, 6 ), true },
   { "never", "ETIMEDOUT", "" },
   { "stops halfway", "ETIMEDOUT", kAnswer.substr( 0, 6 ) },
   { "trickles", "ETIMEDOUT", std::string( { 0, 0, 1, 0 } ) + std::string( 256, 'x' ), true, 20ms },
};

// Sends a reply, and later, where it was none, another one that must not be taken for the next.
void answer( const Reply& reply, FakeService& service, int socket ) {
   std::string request;
   receivePayload( socket, request );
   size_t step = reply.pause > 0ms ? 1 : reply.sent.size();
   for ( size_t at = 0; at < reply.sent.size(); at += step ) {
      std::this_thread::sleep_for( reply.pause );
      if ( !sendBytes( socket, reply.sent.substr( at, step ) ) ) {
         return;
      }
   }
   if ( reply.result == "first" ) {
      service.serve( socket );
   } else if ( !reply.closes ) {
      waitFor( socket, POLLIN );
      sendBytes( socket, kAnswer );
   }
}

}  // namespace

TEST_F( PLSocketTest, EndsInTimeAmidSignalsAndTheNextRequestIsServedRight ) {
   signal( SIGALRM, []( int ) {} );
   ualarm( 3000, 3000 );
   for ( const Reply& reply : kReplies ) {
      SCOPED_TRACE( reply.name );
      FakeService service( { std::bind_front( answer, reply ), serve } );
      EXPECT_EQ( client.setup(), 0 );
      EXPECT_EQ( exchange( "first" ), reply.result );
      EXPECT_EQ( exchange( "second" ), "second" );
      client.cleanup();
   }
   ualarm( 0, 0 );
}

TEST_F( PLSocketTest, OneConnectionServesManyRequestsThatAreNotTooLong ) {
   FakeService service( { serve, serve } );
   ASSERT_EQ( client.setup(), 0 );
   for ( size_t size : { 0u, 1u, 100u, 5000u, 300000u, 1000000u, 2u } ) {
      std::string data( size, 'x' );
      EXPECT_TRUE( exchange( data ) == data ) << size;
   }
   EXPECT_EQ( exchange( std::string( 2 << 20, 'x' ) ), "EMSGSIZE" );
   std::string block( 255, 'x' );
   EXPECT_EQ( exchange( block, Smbus::REQUEST_BLOCK_READ ), block ) << "on the same connection";
   EXPECT_EQ( exchange( block + 'x', Smbus::REQUEST_BLOCK_READ ), "EPROTO" );
   EXPECT_EQ( exchange( "after" ), "after" ) << "on another one";
}

TEST_F( PLSocketTest, ForkedChildHasAConnectionOfItsOwn ) {
   auto serveOne = []( FakeService& service, int socket ) {
      service.serveOne( socket );
      waitFor( socket, POLLIN );
   };
   FakeService service( { serveOne, serve } );
   ASSERT_EQ( client.setup(), 0 );
   EXPECT_EQ( exchange( "parent" ), "parent" );
   pid_t child = fork();
   if ( child == 0 ) {
      _exit( exchange( "child" ) != "child" );
   }
   client.cleanup();  // the service, which serves one after the other, sees the end of the first
   int status;
   waitpid( child, &status, 0 );
   EXPECT_EQ( status, 0 );
}

TEST_F( PLSocketTest, TimesOutWhenTheServiceDoesNotRead ) {
   FakeService service( { []( FakeService&, int socket ) { waitFor( socket, POLLRDHUP ); } } );
   ASSERT_EQ( client.setup(), 0 );
   EXPECT_EQ( exchange( std::string( 1000000, 'x' ) ), "ETIMEDOUT" );
}

TEST_F( PLSocketTest, PicksUpARestartedService ) {
   std::optional< FakeService > service( std::in_place );
   ASSERT_EQ( client.setup(), 0 );
   service.reset();
   EXPECT_EQ( exchange( "lost" ), "EPIPE" ) << "an error, no signal";
   EXPECT_EQ( exchange( "nobody listens" ), "ENOENT" );
   service.emplace();
   EXPECT_EQ( exchange( "back" ), "back" );
   EXPECT_EQ( exchange( "to stay" ), "to stay" );
}

TEST_F( PLSocketTest, FirstFailedSetupOfAProcessNamesTheSocketAtOnce ) {
   auto setUpTwice = [ this ] {
      setenv( "PL_SMBUS_SOCKET", "/nowhere", 1 );
      exit( client.setup() == -1 && client.setup() == -1 && errno == ENOENT ? 0 : 1 );
   };
   GTEST_FLAG_SET( death_test_style, "threadsafe" );  // as a process that has not told yet
   EXPECT_EXIT(
      setUpTwice(), testing::ExitedWithCode( 0 ),
      "^SMBus service: cannot connect to /nowhere: No such file or directory; [a-z ]*\n$" );
   GTEST_FLAG_SET( death_test_style, "fast" );
}

TEST_F( PLSocketTest, SetupSaysWhyItCannotConnectAndNeedNotInSimulation ) {
   for ( const auto& [ path, error ] : { std::pair< std::string, int >( "/nowhere", ENOENT ),
                                         { "/dev/null", ECONNREFUSED },
                                         { std::string( 200, 'x' ), ENAMETOOLONG } } ) {
      setenv( "PL_SMBUS_SOCKET", path.c_str(), 1 );
      EXPECT_TRUE( client.setup() == -1 && errno == error ) << path;
      EXPECT_EQ( pl_last_failure()->error, error ) << path;
   }
   FakeService service;
   setenv( "SIMULATION_VMID", "7", 1 );
   EXPECT_EQ( client.setup(), 0 );
   EXPECT_EQ( exchange( "data" ), "ENOTCONN" );
}

TEST_F( PLSocketTest, FailureOfAServiceWithoutDetailsIsToldAllTheSame ) {
   using Answer = Smbus::TransactionResponse;
   const std::tuple< void ( * )( Answer& ), int, const char* > rows[] = {
      { []( Answer& answer ) { answer.Clear(); }, EPROTO, "0 answers to 1 requests" },
      { []( Answer& answer ) { answer.set_failure( 6 ); }, 6, "No such device or address" },
      { []( Answer& answer ) { answer.set_failure( 6 ), answer.set_error( "a" ); }, 6, "a" },
   };
   FakeService service;
   ASSERT_EQ( client.setup(), 0 );
   for ( const auto& [ spoil, error, reason ] : rows ) {
      service.spoil = spoil;
      exchange( "data" );
      const pl_service_failure& failure = *pl_last_failure();
      EXPECT_TRUE( failure.error == error && failure.answered == 1 && failure.request == -1 );
      EXPECT_STREQ( failure.reason, reason );
      EXPECT_STREQ( failure.text, reason );
   }
}

TEST_F( PLSocketTest, WireSinkIsToldWhatIsKnownOfEachTransfer ) {
   std::string told;
   auto hear = []( void* text, const pl_wire_batch* batch ) {
      auto& line = *static_cast< std::string* >( text );
      for ( int i = 0; i < batch->count; ++i ) {
         const pl_wire_transfer& each = batch->transfers[ i ];
         line += std::to_string( each.device ) + "/" + std::to_string( each.bus ) + " " +
                 std::string( each.read, each.read + each.read_size ) +
                 ( each.error ? strerrorname_np( each.error ) : "" ) + "; ";
      }
   };
   pl_wire_sink_set( hear, &told );
   Smbus::TransactionRequest request;
   for ( const char* data : { "a", "b", "c" } ) {
      request.add_request()->set_data( data );
      request.mutable_request( 0 )->set_address( 0x1C8 );
   }
   FakeService service( { serve, &FakeService::serveOne } );
   ASSERT_EQ( client.setup(), 0 );
   auto send = [ & ] {
      told.clear();
      Smbus::TransactionResponse* reply = nullptr;
      int result = client.sendRequestWait( &request, &reply );
      std::string error = result < 0 ? strerrorname_np( errno ) : "";
      delete reply;
      return told + error;
   };
   EXPECT_EQ( send(), "72/3 a; 0/0 b; 0/0 c; " );
   service.spoil = []( auto& answer ) {
      answer.Clear();
      answer.set_failure( ENXIO );
      answer.mutable_details()->set_request( 1 );
   };
   EXPECT_EQ( send(), "72/3 ; 0/0 ENXIO; 0/0 ECANCELED; " );
   service.spoil = []( auto& answer ) { answer.mutable_response()->RemoveLast(); };
   EXPECT_EQ( send(), "72/3 EPROTO; 0/0 EPROTO; 0/0 EPROTO; " );
   service.spoil = []( auto& answer ) { answer.set_id( 99 ); };
   EXPECT_EQ( send(), "72/3 EPROTO; 0/0 EPROTO; 0/0 EPROTO; EPROTO" );
   pl_wire_sink_set( nullptr, nullptr );
   service.spoil = nullptr;
   EXPECT_EQ( send(), "" );
}
