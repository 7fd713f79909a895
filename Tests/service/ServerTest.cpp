#include <fcntl.h>
#include <fmt/format.h>
#include <gmock/gmock.h>
#include <sys/stat.h>

#include <atomic>
#include <condition_variable>
#include <filesystem>

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
   std::unique_ptr< Emulator::Board > board = folder.load();
   RunningServer server{ *board };
   RawClient client{ server.path() };

   // Works for a healthy client, whatever others have done.
   void expectService() {
      RawClient other( server.path() );
      EXPECT_TRUE( other.send( kReading ) );
      EXPECT_EQ( other.receive(), kReadingReply );
   }
};

std::string frameOf( const Smbus::TransactionRequest& batch ) {
   std::string frame;
   PlatformLibrary::Frame::encode( batch, frame );
   return frame;
}

// Lets the test hold a transfer for as long as it likes.
class Gate : public Adapter, public Backend {
 public:
   Adapter* findAdapter( const AdapterId& ) override { return this; }

   int transfer( const Transfer&, std::string& answer ) override {
      std::unique_lock lock( gate_ );
      ++waiting_;
      changed_.notify_all();
      changed_.wait( lock, [ this ] { return isOpen_; } );
      answer = "\x11\x22";
      return 0;
   }

   void waitForTransfer() {
      std::unique_lock lock( gate_ );
      changed_.wait( lock, [ this ] { return waiting_ > 0; } );
   }

   void open() {
      std::lock_guard lock( gate_ );
      isOpen_ = true;
      changed_.notify_all();
   }

 private:
   std::mutex gate_;
   std::condition_variable changed_;
   int waiting_ = 0;
   bool isOpen_ = false;
};

}  // namespace

TEST_F( ServerTest, AnswersFramesHoweverTheyArrive ) {
   std::string frame = frameOf( kReading );
   for ( char byte : frame ) {
      ASSERT_TRUE( client.send( std::string( 1, byte ) ) );
   }
   EXPECT_EQ( client.receive(), kReadingReply );
   EXPECT_TRUE( client.send( frame + frame + frame.substr( 0, 7 ) ) );
   EXPECT_EQ( client.receive(), kReadingReply );
   EXPECT_EQ( client.receive(), kReadingReply );
   EXPECT_EQ( client.receive( 20 ), "silence" );
   EXPECT_TRUE( client.send( frame.substr( 7 ) ) );
   EXPECT_EQ( client.receive(), kReadingReply );
}

TEST_F( ServerTest, EmptyFrameIsAnEmptyBatch ) {
   EXPECT_TRUE( client.send( std::string( 4, '\0' ) ) );
   EXPECT_EQ( client.receive(), "" );
   EXPECT_TRUE( client.send( kReading ) );
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
   // Fields that nobody knows fill the frame.
   std::string payload = frameOf( kReading ).substr( 4 );
   std::string filler( PlatformLibrary::Frame::kMaxPayload - payload.size() - 5, 'x' );
   payload += std::string( "\xfa\x01" ) + static_cast< char >( 0x80 | ( filler.size() & 0x7f ) ) +
              static_cast< char >( 0x80 | ( filler.size() >> 7 & 0x7f ) ) +
              static_cast< char >( filler.size() >> 14 ) + filler;
   ASSERT_EQ( payload.size(), 1048576u );
   std::thread sender( [ & ] { client.send( std::string( "\0\x10\0\0", 4 ) + payload ); } );
   EXPECT_EQ( client.receive(), kReadingReply );
   sender.join();
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
   EXPECT_EQ( oneTooMany.receive(), "closed" );
   EXPECT_TRUE( client.send( kReading ) );
   EXPECT_EQ( client.receive(), kReadingReply );

   clients.clear();
   std::string reply = "closed";
   for ( int tries = 0; reply == "closed" && tries < 1000; ++tries ) {
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
   EXPECT_EQ( summary( *std::unique_ptr< Smbus::TransactionResponse >( reply ) ), kReadingReply );

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
   gate.waitForTransfer();
   std::thread stopper( [ & ] { server.stop(); } );
   EXPECT_EQ( idle.receive(), "closed" );
   EXPECT_FALSE( std::filesystem::exists( server.path() ) );
   EXPECT_EQ( working.receive( 20 ), "silence" );
   gate.open();
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
