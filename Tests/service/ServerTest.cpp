#include <fcntl.h>
#include <fmt/format.h>
#include <gmock/gmock.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <filesystem>
#include <list>
#include <semaphore>

#include "PlatformLibrary/PLSocket.h"
#include "SmbusService/LastResort.h"
#include "SmbusService/Server.h"
#include "SmbusService/WireLog.h"
#include "Tests/service/Support.h"
#include "pl_host.h"

using namespace Tests;
using namespace SmbusService;
using testing::HasSubstr;
using namespace std::chrono_literals;

namespace {

// Nobody has to leave.
constexpr PlaceLimits kPatient{ .all = 64, .roots = 4, .ofUser = 16, .leastIdle = 1h };

class ServerTest : public testing::Test {
 protected:
   BoardFolder folder;
   std::unique_ptr< Emulator::EmulatedBoard > board = folder.load();
   RunningServer server{ *board, kPatient };
   RawClient client{ server.path() };
};

// Lets the test hold a transfer for as long as it likes.
class Gate : public Adapter, public Backend {
 public:
   Adapter* findAdapter( const AdapterId& ) override { return this; }
   int transfer( const Transfer&, std::string& answer ) override {
      entered.release();
      opened.acquire();
      answer = "\x11\x22";
      return 0;
   }
   std::counting_semaphore<> entered{ 0 };
   std::counting_semaphore<> opened{ 0 };
};

// What is wrong with listening there.
std::string listenAt( const std::string& path ) {
   asio::io_context context;
   try {
      Listener listener( context, path );
      EXPECT_EQ( std::filesystem::status( path ).permissions(), std::filesystem::perms( 0660 ) );
      return "";
   } catch ( const std::runtime_error& error ) {
      return error.what();
   }
}

}  // namespace

TEST_F( ServerTest, AnswersFramesHoweverTheyArrive ) {
   std::string frame = frameOf( kReading );
   for ( char byte : frame ) {
      ASSERT_TRUE( client.send( std::string( 1, byte ) ) );
   }
   EXPECT_EQ( client.receive(), kReadingReply );
   EXPECT_TRUE( client.send( frame + std::string( 4, '\0' ) + frame + frame.substr( 0, 7 ) ) );
   EXPECT_EQ( client.receive(), kReadingReply );
   EXPECT_EQ( client.receive(), "" ) << "an empty batch";
   EXPECT_EQ( client.receive(), kReadingReply );
   EXPECT_EQ( client.receive( 20 ), "silence" );
   EXPECT_EQ( client.ask( frame.substr( 7 ) ), kReadingReply );

   Smbus::TransactionRequest large;
   for ( int i = 0; i < 9; ++i ) {
      *large.add_request() = readBytes( 0x48, 0, 8192 );
   }
   EXPECT_EQ( client.ask( frameOf( large ) + frame ).size(), 9 * ( 2 * 8192 + 1 ) - 1u );
   EXPECT_EQ( client.receive(), kReadingReply );
}

TEST_F( ServerTest, BrokenFramesCloseTheConnectionOnly ) {
   const std::string header( "\0\0\0\x08", 4 );
   for ( const std::string& bytes :
         { std::string( "\0\x10\0\x01", 4 ), std::string( "\xff\xff\xff\xff" ), header + "GARBAGE!",
           header + "\x0a\x7fshort.", std::string( "GET / HTTP/1.0\r\n\r\n" ) } ) {
      RawClient broken( server.path() );
      broken.send( bytes );
      EXPECT_EQ( broken.receive( 3000 ), "closed" ) << "at once: " << bytes;
      EXPECT_EQ( client.ask( kReading ), kReadingReply );
   }
   RawClient( server.path() ).send( frameOf( kReading ).substr( 0, 9 ) );
   EXPECT_EQ( client.ask( kReading ), kReadingReply );
}

TEST_F( ServerTest, BatchOfTooManyRequestsCostsNoMemory ) {
   Smbus::TransactionRequest batch;
   batch.set_id( 7 );
   for ( int i = 0; i < 256; ++i ) {
      *batch.add_request() = readBytes( 0x48, 1, 1 );
   }
   EXPECT_EQ( client.ask( batch ).size(), 3 + 3 * 256 - 1u );
   batch.add_request();
   EXPECT_EQ( client.ask( batch ), "#7 257 requests in a batch, at most 256" );

   auto peakMegabytes = [] {
      rusage usage{};
      getrusage( RUSAGE_SELF, &usage );
      return usage.ru_maxrss / 1024;
   };
   std::string frame( "\0\x10\0\0", 4 );  // as long as one may be
   for ( int i = 0; i < 524288; ++i ) {
      frame.append( "\x0a\0", 2 );
   }
   long before = peakMegabytes();
   std::jthread sender( [ & ] { client.send( frame + frameOf( kReading ) ); } );
   EXPECT_EQ( client.receive(), "524288 requests in a batch, at most 256" );
   EXPECT_EQ( client.receive(), kReadingReply );
   EXPECT_LT( peakMegabytes(), before + 50 );
}

TEST_F( ServerTest, DawdlingClientsDelayNobody ) {
   RawClient halfway( server.path() );
   halfway.send( frameOf( kReading ).substr( 0, 9 ) );
   fcntl( client.descriptor(), F_SETFL, O_NONBLOCK );
   std::string frames = frameOf( batchOf( { readBytes( 0x48, 0, 8192 ) } ) );
   for ( int i = 0; i < 1000 && client.send( frames ); ++i ) {
   }
   EXPECT_EQ( RawClient( server.path() ).ask( kReading ), kReadingReply );
}

TEST_F( ServerTest, ServesTheClientOfThePlatformLibrary ) {
   setenv( "PL_SMBUS_SOCKET", server.path().c_str(), 1 );
   PlatformLibrary::PLSocket socket;
   ASSERT_EQ( socket.setup(), 0 );
   Smbus::TransactionResponse* reply = nullptr;
   ASSERT_EQ( socket.sendRequestWait( &kReading, &reply ), 0 );
   EXPECT_EQ( summary( *std::unique_ptr< Smbus::TransactionResponse >( reply ) ), "#1 2a80" );

   Smbus::Request elsewhere = request( Smbus::REQUEST_BLOCK_WRITE, 0x49, 0xab, 3, "xyz" );
   elsewhere.set_address( elsewhere.address() | 2 << 7 | 4 << 14 );
   elsewhere.set_mastertype( Smbus::MASTER_SCD );
   elsewhere.set_pci( 7 );
   Smbus::TransactionRequest failing = batchOf( { readBytes( 0x48, 0, 2 ), elsewhere } );
   ASSERT_EQ( socket.sendRequestWait( &failing, &reply ), 0 );
   std::unique_ptr< Smbus::TransactionResponse > owned( reply );
   const pl_service_failure& f = *pl_last_failure();
   EXPECT_EQ( f.text, owned->error() );
   EXPECT_EQ(
      fmt::format( "{} {} {} of {}: {}, {} bytes at {:x} of {:x}, {} {} {} {}: {}", f.error,
                   f.answered, f.request, f.count, f.operation, f.size, f.reg, f.device, f.master,
                   f.pci, f.accelerator, f.bus, f.reason ),
      fmt::format( "{} 1 1 of 2: 4, 3 bytes at ab of 49, 2 7 4 2: no such adapter", ENODEV ) );
}

TEST_F( ServerTest, OneUserHasRoomForOthers ) {
   bool isRoot = geteuid() == 0;
   if ( isRoot ) {
      std::filesystem::path path( server.path() );
      std::filesystem::permissions( path.parent_path(), std::filesystem::perms::all );
      std::filesystem::permissions( path, std::filesystem::perms::all );
      ASSERT_EQ( seteuid( 5000 ), 0 );
   }
   std::list< RawClient > clients;
   for ( size_t i = isRoot ? 0 : 1; i < kPatient.ofUser; ++i ) {
      EXPECT_EQ( clients.emplace_back( server.path() ).ask( kReading ), kReadingReply );
   }
   EXPECT_THAT( clients.emplace_back( server.path() ).ask( kReading ),
                HasSubstr( "the service turns the client away: there are 16 clients of uid" ) );
   EXPECT_TRUE( !isRoot || seteuid( 0 ) == 0 );
   EXPECT_EQ( client.ask( kReading ), kReadingReply );
}

TEST( PlacesTest, AreGivenUpByWhoeverIsIdleTheOwnUsersFirst ) {
   constexpr PlaceLimits kLimits{ .all = 5, .roots = 2, .ofUser = 2 };
   auto now = std::chrono::steady_clock::now();
   auto idle = [ now ]( uid_t user, int seconds ) {
      return Occupant{ user, now - std::chrono::seconds( seconds ) };
   };
   auto busy = []( uid_t user ) { return Occupant{ user, {} }; };
   const struct {
      uid_t user;
      std::vector< Occupant > occupants;
      int leaves;  // -1: nobody, as there is a place
      const char* whyNot = "";
   } rows[] = {
      { 7, { idle( 7, 9 ), idle( 8, 9 ) }, -1 },
      { 7, { idle( 7, 8 ), idle( 7, 9 ), idle( 8, 10 ) }, 1 },
      { 7, { idle( 7, 0 ), busy( 7 ), idle( 8, 9 ) }, -1, "there are 2 clients of uid 7 already" },
      { 7, { idle( 8, 8 ), idle( 8, 9 ), idle( 7, 2 ) }, 2 },
      { 7, { idle( 8, 8 ), idle( 8, 9 ), busy( 7 ) }, 1 },
      { 7, { idle( 0, 9 ), idle( 0, 9 ), busy( 8 ) }, -1, "there are 3 clients already" },
      { 7, { idle( 0, 9 ), idle( 0, 10 ), idle( 0, 8 ) }, 1 },
      { 0, { busy( 0 ), busy( 0 ), idle( 8, 9 ), busy( 8 ) }, -1 },
      { 0, { busy( 0 ), busy( 0 ), busy( 0 ), idle( 8, 9 ), busy( 8 ) }, 3 },
   };
   for ( const auto& row : rows ) {
      Place place = placeFor( row.user, row.occupants, kLimits );
      EXPECT_EQ( place.leaves ? static_cast< int >( *place.leaves ) : -1, row.leaves );
      EXPECT_EQ( place.whyNot, row.whyNot );
   }
}

// Until one is idle, whose answer has come already, a newcomer is turned away.
TEST_F( ServerTest, ClientThatGaveUpItsPlaceComesBackUnnoticed ) {
   RunningServer narrow( *board, { .all = 1, .roots = 0, .ofUser = 1, .leastIdle = 0ms } );
   setenv( "PL_SMBUS_SOCKET", narrow.path().c_str(), 1 );
   PlatformLibrary::PLSocket socket;
   ASSERT_EQ( socket.setup(), 0 );
   std::string answer;
   auto isServed = [ & ] { return answer.find( "turns the client away" ) == answer.npos; };
   auto library = [ & ] {
      Smbus::TransactionResponse* reply = nullptr;
      EXPECT_EQ( socket.sendRequestWait( &kReading, &reply ), 0 ) << strerror( errno );
      answer = reply ? summary( *std::unique_ptr< Smbus::TransactionResponse >( reply ) ) : "none";
      return isServed();
   };
   std::optional< RawClient > other;
   auto another = [ & ] {
      return answer = other.emplace( narrow.path() ).ask( kReading ), isServed();
   };
   EXPECT_TRUE( eventually( library ) );
   EXPECT_TRUE( eventually( another ) );
   EXPECT_EQ( answer, kReadingReply );
   EXPECT_TRUE( eventually( library ) );
   EXPECT_THAT( answer, testing::EndsWith( " 2a80" ) );
   EXPECT_EQ( other->receive(), "closed" );
}

TEST_F( ServerTest, EndsInTimeWhateverItsClientsRead ) {
   Smbus::TransactionRequest large;
   for ( int i = 0; i < 64; ++i ) {
      *large.add_request() = readBytes( 0x48, 0, 8192 );
   }
   auto start = std::chrono::steady_clock::now();
   {
      RunningServer ending( *board );
      RawClient silent( ending.path() );
      silent.send( large );
      pollfd entry{ silent.descriptor(), POLLIN, 0 };
      EXPECT_EQ( poll( &entry, 1, 10000 ), 1 ) << "the answer begins";
   }
   EXPECT_LT( std::chrono::steady_clock::now() - start, 4s );
}

TEST( LastResortTest, LeavesWhatHangsWithTheWireLogWritten ) {
   TemporaryDirectory directory;
   std::string file = directory.path() / "wire.log";
   auto hang = [ & ] {
      Log log( STDERR_FILENO );
      WireLog wireLog;
      wireLog.appendTo( file, log );
      LastResort lastResort( wireLog, log, 20ms );
      Transfer transfer = sendByte( {}, 0x70, 0 );
      wireLog.add( { .transfer = transfer,
                     .answer = "",
                     .error = 0,
                     .problem = "",
                     .peer = {},
                     .path = {},
                     .time = {},
                     .duration = {} } );
      lastResort.arm();
      pause();
   };
   EXPECT_EXIT( hang(), testing::ExitedWithCode( 1 ), "after 20ms: the service leaves it" );
   EXPECT_THAT( textOf( file ), HasSubstr( "\n" ) );
}

TEST( ServerStopTest, FinishesTheBatchInHand ) {
   Gate gate;
   std::optional< RunningServer > server( std::in_place, gate );
   std::string path = server->path();
   RawClient working( path );
   RawClient idle( path );
   working.send( frameOf( kReading ) + frameOf( kReading ) );
   gate.entered.acquire();
   std::jthread stopper( [ & ] { server.reset(); } );
   EXPECT_EQ( idle.receive(), "closed" );
   EXPECT_FALSE( std::filesystem::exists( path ) );
   EXPECT_EQ( working.receive( 20 ), "silence" );
   gate.opened.release( 2 );
   EXPECT_EQ( working.receive(), "1122" );
   EXPECT_EQ( working.receive(), "closed" ) << "the next batch is not begun";
}

TEST( ListenerTest, ReplacesStaleSocketsOnly ) {
   TemporaryDirectory directory;
   std::string path = directory.path() / "socket";
   asio::io_context context;
   std::optional< Listener > first( std::in_place, context, path );
   const std::string taken = "cannot listen at " + path + ": another server is there (process " +
                             std::to_string( getpid() ) + ")";
   EXPECT_EQ( listenAt( path ), taken );
   EXPECT_TRUE( std::filesystem::remove( path ) );
   int stranger = socketAt( path, bind );
   EXPECT_EQ( listenAt( path ), taken ) << "the stale file is for it alone to replace";
   first.reset();
   EXPECT_TRUE( std::filesystem::exists( path ) ) << "the stranger's";
   EXPECT_EQ( listen( stranger, 1 ), 0 );
   EXPECT_EQ( listenAt( path ), "cannot listen at " + path + ": another server answers there" );
   close( stranger );
   first.emplace( context, path );
   Listener grouped( context, directory.path() / "grouped", { .group = getegid() + !geteuid() } );
   struct stat status {};
   EXPECT_EQ( stat( ( directory.path() / "grouped" ).c_str(), &status ), 0 );
   EXPECT_EQ( status.st_gid, getegid() + !geteuid() );
   EXPECT_EQ( status.st_mode & 0777, 0660 );
   first.reset();
   EXPECT_FALSE( std::filesystem::exists( path ) );
   EXPECT_FALSE( std::filesystem::exists( Listener::lockFileFor( path ) ) );
   EXPECT_FALSE( std::filesystem::exists( path ) );
   std::ofstream( path ) << "precious";
   EXPECT_EQ( listenAt( path ), "cannot listen at " + path + ": the file exists and is no socket" );
   EXPECT_EQ( std::filesystem::file_size( path ), 8u );
   EXPECT_EQ( listenAt( "" ), "cannot listen at '': the path is empty" );
   EXPECT_THAT( listenAt( path + "/below" ), HasSubstr( "Not a directory" ) );
   EXPECT_THAT( listenAt( path + std::string( 200, 'x' ) ), HasSubstr( "too long" ) );
}
