#include <fcntl.h>
#include <fmt/format.h>
#include <gmock/gmock.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <filesystem>
#include <semaphore>

#include "PlatformLibrary/PLSocket.h"
#include "SmbusService/Server.h"
#include "Tests/service/Support.h"
#include "pl_host.h"

using namespace Tests;
using namespace SmbusService;
using testing::HasSubstr;

namespace {

const Smbus::TransactionRequest kReading = batchOf( { readBytes( 0x48, 0, 2 ) } );
constexpr const char* kReadingReply = "2a80";

class ServerTest : public testing::Test {
 protected:
   BoardFolder folder{ kSensorTopology, kSensorEmulation };
   std::unique_ptr< Emulator::EmulatedBoard > board = folder.load();
   RunningServer server{ *board };
   RawClient client{ server.path() };

   // Works for a healthy client, whatever others have done.
   void expectService() {
      RawClient other( server.path() );
      EXPECT_TRUE( other.send( kReading ) );
      EXPECT_EQ( other.receive(), kReadingReply );
   }
};

// A frame of the greatest size that ends with as many of the fields as it takes.
std::string fullFrame( std::string payload, const std::string& field ) {
   while ( payload.size() < PlatformLibrary::Frame::kMaxPayload ) {
      payload += field;
   }
   return std::string( "\0\x10\0\0", 4 ) + payload;
}

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
   EXPECT_TRUE( client.send( frame.substr( 7 ) ) );
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
      expectService();
   }
   { RawClient( server.path() ).send( frameOf( kReading ).substr( 0, 9 ) ); }
   expectService();
}

TEST_F( ServerTest, GreatestFrameIsServed ) {
   std::string start = frameOf( kReading ).substr( 4 );
   std::string wideNumber( "\x10\x80\0", 3 );
   std::string frame = fullFrame( start.size() % 2 ? start + wideNumber : start, { 0x10, 0 } );
   ASSERT_EQ( frame.size(), 4 + 1048576u );
   std::thread sender( [ & ] { client.send( frame ); } );
   EXPECT_EQ( client.receive(), kReadingReply );
   sender.join();
}

TEST_F( ServerTest, BatchOfTooManyRequestsCostsNoMemory ) {
   auto batchOfSize = []( size_t count ) {
      Smbus::TransactionRequest batch;
      for ( size_t i = 0; i < count; ++i ) {
         *batch.add_request() = sendByte( 0x48, 0 );
      }
      batch.set_id( 7 );
      return frameOf( batch );
   };
   client.send( batchOfSize( 256 ) );
   EXPECT_EQ( client.receive().size(), 3 + 2 * 256 - 1u );
   client.send( batchOfSize( 257 ) );
   EXPECT_EQ( client.receive(), "#7 257 requests in a batch, at most 256" );

   auto peakMegabytes = [] {
      rusage usage{};
      getrusage( RUSAGE_SELF, &usage );
      return usage.ru_maxrss / 1024;
   };
   std::string frame = fullFrame( "", { 0x0a, 0 } );
   long before = peakMegabytes();
   std::thread sender( [ & ] { client.send( frame ); } );
   EXPECT_EQ( client.receive(), "524288 requests in a batch, at most 256" );
   sender.join();
   EXPECT_LT( peakMegabytes(), before + 50 );
}

TEST_F( ServerTest, TakesSixtyFourClients ) {
   std::vector< std::unique_ptr< RawClient > > clients;
   for ( size_t i = 1; i < kMaxConnections; ++i ) {
      clients.push_back( std::make_unique< RawClient >( server.path() ) );
   }
   for ( auto& each : clients ) {
      EXPECT_TRUE( each->send( kReading ) );
   }
   for ( auto& each : clients ) {
      EXPECT_EQ( each->receive(), kReadingReply );
   }
   RawClient oneTooMany( server.path() );
   EXPECT_TRUE( oneTooMany.send( kReading ) ) << "the connection lasts until the answer is read";
   EXPECT_EQ( oneTooMany.receive(),
              "the service turns the client away: there are 64 clients already" );
   EXPECT_EQ( oneTooMany.receive(), "closed" );
   EXPECT_TRUE( client.send( kReading ) );
   EXPECT_EQ( client.receive(), kReadingReply );

   clients.clear();
   std::string reply;
   for ( int tries = 0; reply != kReadingReply && tries < 1000; ++tries ) {
      RawClient next( server.path() );
      next.send( kReading );
      reply = next.receive();
   }
   EXPECT_EQ( reply, kReadingReply );
}

TEST_F( ServerTest, DawdlingClientsDelayNobody ) {
   RawClient halfway( server.path() );
   halfway.send( frameOf( kReading ).substr( 0, 9 ) );
   fcntl( client.descriptor(), F_SETFL, O_NONBLOCK );
   std::string frames = frameOf( batchOf( { readBytes( 0x48, 0, 8192 ) } ) );
   for ( int i = 0; i < 1000 && client.send( frames ); ++i ) {
   }
   expectService();
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
   std::string seen;
   pl_failure_sink_set(
      []( void* user, const pl_service_failure* f ) {
         *static_cast< std::string* >( user ) =
            fmt::format( "{} {} {} of {}: {}, {} bytes at {:x} of {:x}, {} {} {} {}: {}; {}",
                         f->error, f->answered, f->request, f->count, f->operation, f->size, f->reg,
                         f->device, f->master, f->pci, f->accelerator, f->bus, f->reason, f->text );
      },
      &seen );
   ASSERT_EQ( socket.sendRequestWait( &failing, &reply ), 0 );
   pl_failure_sink_set( nullptr, nullptr );
   std::unique_ptr< Smbus::TransactionResponse > owned( reply );
   EXPECT_EQ( seen,
              fmt::format( "{} 1 1 of 2: 4, 3 bytes at ab of 49, 2 7 4 2: no such adapter; {}",
                           ENODEV, owned->error() ) );
}

TEST( ServerStopTest, FinishesTheBatchInHand ) {
   Gate gate;
   RunningServer server( gate );
   RawClient working( server.path() );
   RawClient idle( server.path() );
   working.send( frameOf( kReading ) + frameOf( kReading ) );
   gate.entered.acquire();
   std::thread stopper( [ & ] { server.stop(); } );
   EXPECT_EQ( idle.receive(), "closed" );
   EXPECT_FALSE( std::filesystem::exists( server.path() ) );
   EXPECT_EQ( working.receive( 20 ), "silence" );
   gate.opened.release( 2 );
   EXPECT_EQ( working.receive(), "1122" );
   EXPECT_EQ( working.receive(), "closed" ) << "the next batch is not begun";
   stopper.join();
}

TEST( ListenerTest, LeavesTheSocketOfItsSuccessor ) {
   TemporaryDirectory directory;
   std::string path = directory.path() / "socket";
   asio::io_context context;
   Listener first( context, path );
   std::filesystem::remove( path );
   Listener second( context, path );
   first.close();
   EXPECT_TRUE( std::filesystem::exists( path ) );
   second.close();
   EXPECT_FALSE( std::filesystem::exists( path ) );
   EXPECT_THROW( Listener( context, "" ), std::runtime_error );
}

TEST( ListenerTest, ReplacesStaleSocketsOnly ) {
   TemporaryDirectory directory;
   std::string path = directory.path() / "socket";
   auto problem = [ & ]( const std::string& where ) -> std::string {
      asio::io_context context;
      try {
         Listener listener( context, where );
         struct stat status;
         stat( where.c_str(), &status );
         EXPECT_EQ( status.st_mode, S_IFSOCK | 0660u );
      } catch ( const std::runtime_error& error ) {
         return error.what();
      }
      EXPECT_FALSE( std::filesystem::exists( where ) );
      return {};
   };
   EXPECT_EQ( problem( path ), "" );
   {
      asio::io_context context;
      asio::local::stream_protocol::acceptor stale( context, path );
      EXPECT_EQ( problem( path ), "cannot listen at " + path + ": another server answers there" );
      EXPECT_TRUE( std::filesystem::exists( path ) );
   }
   EXPECT_TRUE( std::filesystem::exists( path ) );
   EXPECT_EQ( problem( path ), "" );

   std::ofstream( path ) << "precious";
   EXPECT_EQ( problem( path ), "cannot listen at " + path + ": the file exists and is no socket" );
   EXPECT_EQ( std::filesystem::file_size( path ), 8u );
   EXPECT_THAT( problem( path + "/below" ), HasSubstr( "Not a directory" ) );
   EXPECT_THAT( problem( path + std::string( 200, 'x' ) ), HasSubstr( "too long" ) );
}
