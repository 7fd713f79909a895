#include <gmock/gmock.h>

#include "SmbusService/Replay.h"
#include "SmbusService/TransferError.h"
#include "SmbusService/WireLog.h"
#include "Tests/service/Steps.h"

using namespace Tests;
using namespace SmbusService;
using testing::HasSubstr;

namespace {

const std::string kTwins = LUMEN_SOURCE_DIR "/Tests/service/twins";

// Behind two muxes; see there.
class WireLogTest : public testing::Test {
 protected:
   std::string run( Backend& backend, const std::string& steps ) {
      Smbus::TransactionResponse reply;
      Batch( backend, { .number = 7, .uid = 33 } ).execute( twinsBatchOf( steps ), reply );
      return summary( reply );
   }

   BoardFolder folder{ textOf( kTwins + "/topology.json" ), textOf( kTwins + "/emulation.json" ) };
   std::string file = folder.path() + "/wire.log";
};

}  // namespace

TEST_F( WireLogTest, FileHoldsEachTransferAsItWasAndIsReplayed ) {
   const std::string read10 = "70>01 71>01 49<00:2 71>00 70>00";
   Log messages( STDERR_FILENO );
   {
      auto board = folder.load();
      WireLog log;
      log.appendTo( file, messages );
      board->keepLog( log );
      for ( double temperature : { 10.0, 20.5 } ) {
         board->set( 10, "temperature", temperature );
         run( *board, read10 );
      }
      run( *board, "48>031234" );
      EXPECT_THAT( run( *board, "4c<00:1" ), HasSubstr( "no acknowledge" ) );
      run( *board, "48<" );
      EXPECT_EQ( log.after( 3, 2 ).at( 1 ).number, 5u );
   }
   std::vector< BoardFiles::Finding > findings;
   auto records = BoardFiles::readWireLog( file, findings );
   EXPECT_TRUE( findings.empty() );
   ASSERT_EQ( records.size(), 13u );
   const BoardFiles::WireRecord& read = records[ 7 ];
   EXPECT_EQ( read.number, 8u );
   EXPECT_LT( std::chrono::system_clock::now() - read.time, std::chrono::minutes( 1 ) );
   EXPECT_EQ( std::pair( read.client, read.uid ), std::pair( uint64_t{ 7 }, 33u ) );
   EXPECT_EQ( AdapterId::of( read.master, read.pci, read.accelerator, read.bus ),
              AdapterId::of( Smbus::MASTER_SCD, 5, 2, 1 ) );
   using Path = std::vector< std::pair< uint8_t, uint8_t > >;
   EXPECT_EQ( read.path, ( Path{ { 0x70, 1 }, { 0x71, 1 } } ) );
   EXPECT_EQ( records[ 6 ].path, ( Path{ { 0x70, 1 } } ) ) << "the selection of the inner mux";
   EXPECT_EQ( std::pair( read.device, read.size ), std::pair( uint8_t{ 0x49 }, 2u ) );
   EXPECT_EQ( hex( read.read ), "1480" );
   EXPECT_EQ( hex( records[ 10 ].written ), "1234" );
   EXPECT_EQ( std::pair( records[ 11 ].status, records[ 11 ].problem ),
              std::pair( ENXIO, std::string( "no acknowledge" ) ) );
   EXPECT_EQ( records[ 12 ].operation, Smbus::REQUEST_READ );
   EXPECT_EQ( records[ 12 ].size, 0u );

   auto board = folder.load();
   Replay replay( *board, records );
   for ( const char* answer : { "- - 0a00 - -", "- - 1480 - -", "- - 1480 - -" } ) {
      EXPECT_EQ( run( replay, read10 ), answer );
   }
   EXPECT_THAT( run( replay, "4c<00:1" ), HasSubstr( "no acknowledge" ) );
   EXPECT_EQ( run( replay, "70>01 71>02 49<00:2 71>00 70>00" ), "- - 0b00 - -" )
      << "from the chip, as nobody recorded it";
}

// A service that was killed has left half a line.
TEST_F( WireLogTest, TornLinesAreToldAndTheOthersRead ) {
   std::ofstream( file ) << "[]\n{\"number\"";
   Log messages( STDERR_FILENO );
   {
      auto board = folder.load();
      WireLog log;
      log.appendTo( file, messages );
      board->keepLog( log );
      run( *board, "48<" );
   }
   std::vector< BoardFiles::Finding > findings;
   EXPECT_EQ( BoardFiles::readWireLog( file, findings ).size(), 1u );
   ASSERT_EQ( findings.size(), 2u );
   EXPECT_THAT( findings[ 0 ].text(), HasSubstr( "wire.log:1: must be an object" ) );
   EXPECT_THAT( findings[ 1 ].text(), HasSubstr( "wire.log:2:1:10: Missing a colon" ) );
   EXPECT_THROW( WireLog().appendTo( folder.path(), messages ), std::runtime_error );
}

TEST_F( WireLogTest, OnlyTheLastTransfersAreKept ) {
   auto board = folder.load();
   WireLog log;
   board->keepLog( log );
   for ( size_t i = 0; i < kKeptTransfers + 5; ++i ) {
      run( *board, "48<" );
   }
   auto kept = log.after( 0, 5000 );
   ASSERT_EQ( kept.size(), kKeptTransfers );
   EXPECT_EQ( kept[ 0 ].number, 6u );
}
