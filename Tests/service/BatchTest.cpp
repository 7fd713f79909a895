#include <gmock/gmock.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <latch>
#include <map>
#include <thread>

#include "SmbusService/Batch.h"
#include "Tests/service/Support.h"

using namespace Tests;
using namespace SmbusService;
using std::chrono::milliseconds;
using testing::HasSubstr;

namespace {

// Notes each transfer; fails those that `errors` names, as often as it says.
class FakeAdapter : public Adapter {
 public:
   struct Error {
      int error;
      int count = 1;
   };

   int transfer( const Transfer& transfer, std::string& answer ) override {
      std::string text = describe( transfer );
      text.resize( text.find( ", bus" ) );
      log.push_back( text );
      answer = std::string( transfer.answerLimit(), '\x11' );
      if ( inTransfer ) {
         inTransfer();
      }
      auto error = errors.find( text );
      return error != errors.end() && error->second.count-- > 0 ? error->second.error : 0;
   }

   std::vector< std::string > log;
   std::map< std::string, Error > errors;
   std::function< void() > inTransfer;
};

// SCD adapters by bus number.
class FakeBackend : public Backend {
 public:
   Adapter* findAdapter( const AdapterId& id ) override {
      auto adapter = adapters.find( id.bus );
      return adapter == adapters.end() ? nullptr : &adapter->second;
   }
   std::map< uint8_t, FakeAdapter > adapters;
};

Smbus::Request onBus( uint8_t bus, Smbus::Request request ) {
   request.set_mastertype( Smbus::MASTER_SCD );
   request.set_address( request.address() | bus << 7 );
   return request;
}

class BatchTest : public testing::Test {
 protected:
   FakeBackend backend;
   FakeAdapter& adapter = backend.adapters[ 0 ];
};

constexpr int kForever = 1000000;
const std::string kReading = "read 2 bytes, register 0x00, device 0x48";

}  // namespace

TEST_F( BatchTest, AnswersEachRequest ) {
   EXPECT_EQ( execute( backend, batchOf( { sendByte( 0x70, 4 ), readBytes( 0x48, 0, 2 ),
                                           writeBytes( 0x48, 1, "x" ), readBytes( 0x48, 0, 0 ),
                                           sendByte( 0x70, 0 ) } ) ),
              "- 1111 - 11 -" );
   EXPECT_EQ( execute( backend, batchOf( {} ) ), "" );
}

TEST_F( BatchTest, FailureEndsTheBatchButNotItsMuxResets ) {
   auto batch = batchOf( { sendByte( 0x70, 1 ), sendByte( 0x71, 2 ), writeBytes( 0x48, 1, "x" ),
                           sendByte( 0x48, 0 ), readBytes( 0x48, 0, 2 ), sendByte( 0x71, 0 ),
                           sendByte( 0x70, 0 ) } );
   const std::vector< std::string > all{ "send byte 0x01, device 0x70",
                                         "send byte 0x02, device 0x71",
                                         "write 1 byte, register 0x01, device 0x48",
                                         "send byte 0x00, device 0x48",
                                         kReading,
                                         "send byte 0x00, device 0x71",
                                         "send byte 0x00, device 0x70" };
   constexpr size_t kFirstReset = 5;
   for ( size_t failing = 0; failing < all.size(); ++failing ) {
      std::vector< std::string > expected( all.begin(), all.begin() + failing + 1 );
      expected.insert( expected.end(), all.begin() + std::max( failing + 1, kFirstReset ),
                       all.end() );
      adapter.log.clear();
      adapter.errors = { { all[ failing ], { ENXIO } } };
      if ( failing < kFirstReset ) {
         adapter.errors[ all[ kFirstReset ] ] = { EIO };  // neither stops the outer one nor is told
      }
      EXPECT_EQ( execute( backend, batch ), "request " + std::to_string( failing + 1 ) + " of 7: " +
                                               all[ failing ] + ", bus 0: no acknowledge" );
      EXPECT_EQ( adapter.log, expected ) << failing;
   }
}

TEST_F( BatchTest, FailureHasErrnoAndWords ) {
   for ( auto [ error, words ] :
         { std::pair( ENXIO, "no acknowledge" ), std::pair( ETIMEDOUT, "timed out" ),
           std::pair( EIO, "short answer" ), std::pair( EPROTO, "corrupt answer" ),
           std::pair( EACCES, "Permission denied" ) } ) {
      adapter.errors = { { kReading, { error } } };
      Smbus::TransactionResponse reply;
      Batch( backend ).execute( batchOf( { readBytes( 0x48, 0, 2 ) } ), reply );
      EXPECT_EQ( reply.failure(), error );
      EXPECT_EQ( reply.details().reason(), words );
      EXPECT_EQ( reply.error(), "request 1 of 1: " + kReading + ", bus 0: " + words );
   }
}

TEST_F( BatchTest, FailingRequestIsRepeatedAsOftenAsAsked ) {
   auto batch = batchOf( { sendByte( 0x70, 1 ), readBytes( 0x48, 0, 2 ) }, 3 );
   adapter.errors = { { kReading, { ENXIO, 3 } } };
   EXPECT_EQ( execute( backend, batch ), "- 1111" );
   EXPECT_EQ( adapter.log.size(), 1 + 4u );
   adapter.errors[ kReading ].count = 4;
   EXPECT_THAT( execute( backend, batch ), HasSubstr( "no acknowledge" ) );
   EXPECT_EQ( adapter.log.size(), 2 * ( 1 + 4u ) );

   adapter.log.clear();
   adapter.errors[ kReading ].count = kForever;
   EXPECT_NE( execute( backend, batchOf( { readBytes( 0x48, 0, 2 ) }, 0xffffffff ) ), "" );
   EXPECT_EQ( adapter.log.size(), 1 + kMaxRetries );
}

TEST_F( BatchTest, FlaggedWriteNeedsNoAcknowledge ) {
   const std::string writing = "write 1 byte, register 0x01, device 0x48";
   auto batch = batchOf( { writeBytes( 0x48, 1, "x" ), readBytes( 0x48, 0, 2 ) }, 5 );
   batch.mutable_request( 0 )->set_flag( true );
   batch.mutable_request( 1 )->set_flag( true );
   adapter.errors = { { writing, { ENXIO, kForever } } };
   EXPECT_EQ( execute( backend, batch ), "- 1111" );
   EXPECT_EQ( adapter.log.size(), 2u ) << "and is not repeated";
   adapter.errors[ writing ].error = ETIMEDOUT;
   EXPECT_THAT( execute( backend, batch ), HasSubstr( "timed out" ) );
   adapter.errors = { { kReading, { ENXIO, kForever } } };
   EXPECT_THAT( execute( backend, batch ), HasSubstr( "no acknowledge" ) ) << "a read needs one";
}

TEST_F( BatchTest, PausesAsTheAddressWordAsks ) {
   auto duration = [ & ]( Smbus::Request request, uint32_t codes ) {
      request.set_address( request.address() | codes );
      auto start = std::chrono::steady_clock::now();
      execute( backend, batchOf( { request, request, request, request, request } ) );
      return std::chrono::steady_clock::now() - start;
   };
   constexpr uint32_t kExtraDelay = 1u << 27;  // 50 ms
   constexpr uint32_t kWriteDelay = 3u << 28;  // 20 ms
   constexpr uint32_t kReadDelay = 3u << 30;   // 20 ms
   EXPECT_GE( duration( writeBytes( 0x48, 0, "x" ), kWriteDelay ), milliseconds( 100 ) );
   EXPECT_LT( duration( writeBytes( 0x48, 0, "x" ), kReadDelay ), milliseconds( 100 ) );
   EXPECT_GE( duration( readBytes( 0x48, 0, 1 ), kReadDelay | kExtraDelay ), milliseconds( 350 ) );
}

TEST_F( BatchTest, RefusedBatchTouchesNothing ) {
   EXPECT_EQ(
      execute( backend, batchOf( { sendByte( 0x70, 1 ), onBus( 9, readBytes( 0x48, 0, 1 ) ) } ) ),
      "request 2 of 2: read 1 byte, register 0x00, device 0x48, bus 9: no such adapter" );
   EXPECT_EQ( execute( backend, batchOf( { sendByte( 0x70, 1 ), readBytes( 0x48, 0x123, 1 ) } ) ),
              "request 2 of 2: read 1 byte, register 0x123, device 0x48, bus 0: register number "
              "0x123 is too wide" );
   Smbus::TransactionRequest tooLong;
   for ( int i = 0; i < 128; ++i ) {
      *tooLong.add_request() = readBytes( 0x48, 0, kMaxTransferSize );
   }
   EXPECT_EQ( execute( backend, tooLong ), "the answers are too long for one reply" );
   EXPECT_TRUE( adapter.log.empty() );
}

TEST_F( BatchTest, KeepsItsAdaptersToItself ) {
   std::atomic< int > inside = 0;
   std::atomic< int > most = 0;
   auto busy = [ & ] {
      most = std::max< int >( most, ++inside );
      std::this_thread::sleep_for( milliseconds( 1 ) );
      --inside;
   };
   backend.adapters[ 1 ].inTransfer = busy;
   backend.adapters[ 2 ];
   // In both orders, so that locking in the batch's order would come to a standstill.
   auto work = [ & ]( uint8_t first, uint8_t second ) {
      Batch batch( backend );
      Smbus::TransactionResponse reply;
      for ( int i = 0; i < 50; ++i ) {
         batch.execute( batchOf( { onBus( first, readBytes( 0x48, 0, 1 ) ),
                                   onBus( second, sendByte( 0x48, first ) ),
                                   onBus( first, readBytes( 0x48, 0, 2 ) ) } ),
                        reply );
         EXPECT_EQ( reply.failure(), 0 );
      }
   };
   std::thread other( work, uint8_t{ 2 }, uint8_t{ 1 } );
   work( 1, 2 );
   other.join();
   EXPECT_EQ( most, 1 );
   // Batches never mix: on bus 2 one's requests stand together, the other's is alone.
   const auto& log = backend.adapters[ 2 ].log;
   ASSERT_EQ( log.size(), 50u * 3 );
   for ( size_t i = 0; i < log.size(); ++i ) {
      if ( log[ i ] == "read 1 byte, register 0x00, device 0x48" ) {
         EXPECT_EQ( log.at( i + 1 ), "read 2 bytes, register 0x00, device 0x48" ) << i;
      }
   }
}

TEST_F( BatchTest, BackendThatThrowsLeavesNothingLocked ) {
   adapter.inTransfer = [] { throw std::runtime_error( "bug" ); };
   Batch batch( backend );
   Smbus::TransactionResponse reply;
   EXPECT_THROW( batch.execute( batchOf( { readBytes( 0x48, 0, 1 ) } ), reply ),
                 std::runtime_error );
   EXPECT_TRUE( adapter.mutex.try_lock() );
   adapter.mutex.unlock();
}

TEST_F( BatchTest, LongBatchFailsAndStillClosesTheMuxes ) {
   adapter.inTransfer = [] { std::this_thread::sleep_for( milliseconds( 100 ) ); };
   Smbus::TransactionResponse reply;
   Batch( backend, milliseconds( 80 ) )
      .execute( batchOf( { readBytes( 0x48, 0, 2 ), readBytes( 0x48, 1, 2 ),
                           readBytes( 0x48, 0, 2 ), sendByte( 0x70, 0 ) } ),
                reply );
   EXPECT_EQ( reply.error(),
              "request 3 of 4: " + kReading + ", bus 0: the batch takes longer than 80ms" );
   EXPECT_EQ( reply.failure(), ETIMEDOUT );
   EXPECT_EQ( adapter.log.back(), "send byte 0x00, device 0x70" );
}

TEST_F( BatchTest, AbsentChipKeepsNobodyWaitingForItsRetries ) {
   adapter.inTransfer = [] { std::this_thread::sleep_for( milliseconds( 5 ) ); };
   adapter.errors[ "send byte 0x00, device 0x70" ] = { ENXIO, kForever };
   auto batch = batchOf( {}, kMaxRetries );
   for ( int i = 0; i < kMaxRequests; ++i ) {
      *batch.add_request() = onBus( 0, sendByte( 0x70, 0 ) );
   }
   Smbus::TransactionResponse reply;
   Batch( backend, milliseconds( 50 ) ).execute( batch, reply );
   EXPECT_EQ( reply.failure(), ENXIO );
   EXPECT_LT( adapter.log.size(), 40u );
}

TEST_F( BatchTest, DifferentAdaptersWorkAtTheSameTime ) {
   std::latch both( 2 );
   auto meet = [ & ] { both.arrive_and_wait(); };
   backend.adapters[ 1 ].inTransfer = meet;
   backend.adapters[ 2 ].inTransfer = meet;
   std::thread other(
      [ & ] { execute( backend, batchOf( { onBus( 1, readBytes( 0x48, 0, 1 ) ) } ) ); } );
   execute( backend, batchOf( { onBus( 2, readBytes( 0x48, 0, 1 ) ) } ) );
   other.join();
}
