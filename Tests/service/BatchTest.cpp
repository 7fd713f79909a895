#include <fmt/ranges.h>
#include <gmock/gmock.h>

#include <chrono>
#include <latch>
#include <map>

#include "SmbusService/Batch.h"
#include "Tests/service/Steps.h"

using namespace Tests;
using namespace SmbusService;
using std::chrono::milliseconds;
using testing::ElementsAre;
using testing::HasSubstr;

namespace {

// Notes each transfer as a step; fails as `onTransfer` says.
class FakeAdapter : public Adapter {
 public:
   int transfer( const Transfer& transfer, std::string& answer ) override {
      log.push_back( fmt::format( "{:02x}{}{:02x}{}", transfer.address.device,
                                  transfer.reads() ? '<' : '>', transfer.reg,
                                  hex( std::string( transfer.data ) ) ) );
      answer = std::string( transfer.answerLimit(), '\x11' );
      return onTransfer ? onTransfer( log.back() ) : 0;
   }

   std::vector< std::string > log;
   std::function< int( const std::string& step ) > onTransfer;
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

Smbus::Request onBus( uint8_t bus, const std::string& step ) {
   Smbus::Request request = requestOf( step );
   request.set_mastertype( Smbus::MASTER_SCD );
   request.set_address( request.address() | bus << 7 );
   return request;
}

class BatchTest : public testing::Test {
 protected:
   // The answers, or the error. The reading of device 0x48 fails for a number of times.
   std::string run( const std::string& steps, uint32_t retries, int error, int failures ) {
      Smbus::TransactionRequest batch = batchOf( steps );
      batch.set_retry_count( retries );
      batch.mutable_request( 0 )->set_flag( isFlagged );
      adapter.log.clear();
      adapter.onTransfer = [ = ]( auto& step ) mutable {
         return step.starts_with( "48" ) && failures-- > 0 ? error : 0;
      };
      return execute( backend, batch );
   }

   bool isFlagged = false;  // the first request
   FakeBackend backend;
   FakeAdapter& adapter = backend.adapters[ 0 ];
   Smbus::TransactionResponse reply;
};

}  // namespace

TEST_F( BatchTest, AnswersEachRequest ) {
   EXPECT_EQ( execute( backend, batchOf( "70>04 48<00:2 48>0178 48< 70>00" ) ), "- 1111 - 11 -" );
   EXPECT_THAT( adapter.log, ElementsAre( "70>04", "48<00", "48>0178", "48<00", "70>00" ) );
   EXPECT_EQ( execute( backend, batchOf( "" ) ), "" );
}

TEST_F( BatchTest, FailureEndsTheBatchButNotItsMuxResetsAndHasErrnoAndWords ) {
   const std::tuple< const char*, int, const char* > rows[] = {
      { "70>01 71>00 70>00", ENXIO, "no acknowledge" },
      { "70>01 71>02 71>00 70>00", ETIMEDOUT, "timed out" },
      { "70>01 71>02 48>0178 71>00 70>00", EIO, "short answer" },
      { "70>01 71>02 48>0178 48>00 71>00 70>00", EPROTO, "corrupt answer" },
      { "70>01 71>02 48>0178 48>00 48<00 71>00 70>00", EACCES, "Permission denied" },
      { "70>01 71>02 48>0178 48>00 48<00 71>00 70>00", EAGAIN, "lost arbitration" },
      { "70>01 71>02 48>0178 48>00 48<00 71>00 70>00", EREMOTEIO, "no acknowledge" },
   };
   auto batch = batchOf( "70>01 71>02 48>0178 48>00 48<00:2 71>00 70>00" );
   for ( int index = 0; index < 7; ++index ) {
      const auto& [ transfers, error, words ] = rows[ index ];
      adapter.log.clear();
      // That the reset behind it fails, too, neither stops the other one nor is told.
      adapter.onTransfer = [ this, index, error = error ]( auto& ) {
         int at = static_cast< int >( adapter.log.size() ) - 1;
         return at == index ? error : at == index + 1 ? EBUSY : 0;
      };
      Batch( backend ).execute( batch, reply );
      EXPECT_EQ( reply.failure(), error );
      EXPECT_EQ( reply.details().reason(), words );
      EXPECT_EQ( summary( reply ),
                 fmt::format( "request {} of 7: {}: {}", index + 1,
                              describe( decode( batch.request( index ) ) ), words ) );
      EXPECT_EQ( fmt::format( "{}", fmt::join( adapter.log, " " ) ), transfers );
   }
}

TEST_F( BatchTest, FailingRequestIsRepeatedAsOftenAsAsked ) {
   EXPECT_EQ( run( "70>01 48<00:2", 3, ENXIO, 3 ), "- 1111" );
   EXPECT_EQ( adapter.log.size(), 1 + 4u );
   EXPECT_THAT( run( "70>01 48<00:2", 3, ENXIO, 4 ), HasSubstr( "no acknowledge" ) );
   EXPECT_EQ( adapter.log.size(), 1 + 4u );
   EXPECT_THAT( run( "48<00:2", 0xffffffff, ENXIO, 1000 ), HasSubstr( "no acknowledge" ) );
   EXPECT_EQ( adapter.log.size(), 1 + kMaxRetries );
}

TEST_F( BatchTest, FlaggedWriteNeedsNoAcknowledge ) {
   isFlagged = true;
   EXPECT_EQ( run( "48>0178 48<00:2", 5, ENXIO, 1 ), "- 1111" );
   EXPECT_EQ( adapter.log.size(), 2u ) << "and is not repeated";
   EXPECT_THAT( run( "48>0178", 0, ETIMEDOUT, 1 ), HasSubstr( "timed out" ) );
   EXPECT_THAT( run( "48<00:2", 0, ENXIO, 1 ), HasSubstr( "no acknowledge" ) );
}

TEST_F( BatchTest, PausesAsTheAddressWordAsks ) {
   constexpr uint32_t kExtraDelay = 1u << 27;  // 50 ms
   constexpr uint32_t kWriteDelay = 3u << 28;  // 20 ms
   constexpr uint32_t kReadDelay = 3u << 30;   // 20 ms
   for ( const auto& [ step, codes, least, most ] :
         { std::tuple( "48>0078", kWriteDelay, 100, 10000 ),
           std::tuple( "48>0078", kReadDelay, 0, 100 ),
           std::tuple( "48<00:1", kReadDelay | kExtraDelay, 350, 10000 ) } ) {
      Smbus::Request request = requestOf( step );
      request.set_address( request.address() | codes );
      auto start = std::chrono::steady_clock::now();
      execute( backend, batchOf( { request, request, request, request, request } ) );
      auto duration = std::chrono::steady_clock::now() - start;
      EXPECT_TRUE( duration >= milliseconds( least ) && duration < milliseconds( most ) ) << least;
   }
}

TEST_F( BatchTest, RefusedBatchTouchesNothing ) {
   EXPECT_EQ( execute( backend, batchOf( { requestOf( "70>01" ), onBus( 9, "48<00:1" ) } ) ),
              "request 2 of 2: read 1 byte, register 0x00, device 0x48, bus 9: no such adapter" );
   EXPECT_EQ( execute( backend, batchOf( { requestOf( "70>01" ), readBytes( 0x48, 0x123, 1 ) } ) ),
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
   for ( uint8_t bus : { 1, 3 } ) {
      backend.adapters[ bus ].onTransfer = []( auto& ) { return usleep( 1000 ); };
   }
   auto& log = backend.adapters[ 2 ].log;
   // Two of them in both orders, so that locking in the batch's order would come to a standstill.
   auto work = [ & ]( uint8_t first, uint8_t second ) {
      for ( int i = 0; i < 50; ++i ) {
         execute( backend, batchOf( { onBus( first, "48>01" ), onBus( i % 2 ? second : 3, "48>02" ),
                                      onBus( first, "48>03" ) } ) );
      }
   };
   std::jthread other( work, 2, 1 );
   work( 1, 2 );
   other.join();
   EXPECT_EQ( log.size(), 125u );
   EXPECT_THAT( fmt::format( "{}", fmt::join( log, " " ) ),
                testing::MatchesRegex( "((48>02|48>01 48>03) ?)+" ) );
}

TEST_F( BatchTest, DifferentAdaptersWorkAtTheSameTime ) {
   std::latch both( 2 );
   auto work = [ & ]( uint8_t bus ) {
      backend.adapters[ bus ].onTransfer = [ & ]( auto& ) { return both.arrive_and_wait(), 0; };
      execute( backend, batchOf( { onBus( bus, "48<00:1" ) } ) );
   };
   backend.adapters[ 1 ];
   std::jthread other( work, 1 );
   work( 0 );
}

TEST_F( BatchTest, BackendThatThrowsLeavesNothingLocked ) {
   adapter.onTransfer = []( auto& ) -> int { throw std::runtime_error( "bug" ); };
   EXPECT_THROW( execute( backend, batchOf( "48<00:1" ) ), std::runtime_error );
   EXPECT_TRUE( adapter.mutex.try_lock() );
   adapter.mutex.unlock();
}

TEST_F( BatchTest, LongBatchFailsAndStillClosesTheMuxes ) {
   adapter.onTransfer = []( auto& ) { return usleep( 100'000 ); };
   Batch( backend, {}, nullptr, milliseconds( 80 ) )
      .execute( batchOf( "48<00:2 48<01:2 48<00:2 70>00" ), reply );
   EXPECT_EQ( reply.error(),
              "request 2 of 4: read 2 bytes, register 0x01, device 0x48, bus 0: not run: the batch "
              "takes longer than 80ms" );
   EXPECT_EQ( reply.failure(), ETIMEDOUT );
   EXPECT_THAT( adapter.log, ElementsAre( "48<00", "70>00" ) );
}

TEST_F( BatchTest, AdapterThatOthersUseIsNotWaitedForWithoutEnd ) {
   std::lock_guard lock( adapter.mutex );
   Batch inTime( backend, {}, nullptr, milliseconds( 50 ) );
   std::jthread( [ & ] { inTime.execute( batchOf( "48<00:2" ), reply ); } ).join();
   EXPECT_EQ( reply.details().reason(),
              "not run: waited 47ms for the adapter, which client 0 uses" );
   EXPECT_THAT( adapter.log, ElementsAre() );
}

TEST_F( BatchTest, TimeOutsLeaveTimeForAResetAndTheAnswer ) {
   constexpr uint32_t kBusTimeout = 3u << 22;  // 50 ms
   adapter.onTransfer = []( auto& ) { return usleep( 50'000 ), ETIMEDOUT; };
   auto batch = batchOf( "48<00:2 71>00 70>00" );
   batch.set_retry_count( kMaxRetries );
   for ( Smbus::Request& request : *batch.mutable_request() ) {
      request.set_address( request.address() | kBusTimeout );
   }
   Batch( backend, {}, nullptr, milliseconds( 290 ) ).execute( batch, reply );
   EXPECT_EQ( reply.details().reason(), "timed out" );
   EXPECT_LE( adapter.log.size(), 4 + 1u ) << "50 ms each";
   EXPECT_EQ( adapter.log.back(), "71>00" ) << "the other one would take too long";
}

TEST_F( BatchTest, EndOfTheServiceRefusesWhatStillWaits ) {
   Batch waiting( backend );
   waiting.finish();
   waiting.execute( batchOf( "48<00:2" ), reply );
   EXPECT_EQ( reply.failure(), ECANCELED );
   EXPECT_THAT( adapter.log, ElementsAre() );
}

TEST_F( BatchTest, AbsentChipKeepsNobodyWaitingForItsRetries ) {
   adapter.onTransfer = []( auto& ) { return usleep( 5000 ), ENXIO; };
   Smbus::TransactionRequest batch;
   batch.set_retry_count( kMaxRetries );
   for ( int i = 0; i < kMaxRequests; ++i ) {
      *batch.add_request() = requestOf( "70>00" );
   }
   Batch( backend, {}, nullptr, milliseconds( 50 ) ).execute( batch, reply );
   EXPECT_EQ( reply.failure(), ENXIO );
   EXPECT_LT( adapter.log.size(), 40u );
}
