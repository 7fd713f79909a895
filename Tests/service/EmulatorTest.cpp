#include <gmock/gmock.h>

#include <chrono>

#include "Tests/service/Steps.h"

using namespace Tests;
using namespace SmbusService;
using namespace SmbusService::Emulator;
using testing::HasSubstr;

namespace {

// Mux 1 (0x70) leads to mux 2 (0x71), which leads to sensors 10 and 11, both at 0x49; sensor 12,
// at 0x49 too, is behind mux 1; sensor 13 has address 0x48 and hangs on the adapter itself.
const std::string kBoard = LUMEN_SOURCE_DIR "/Tests/service/twins";
constexpr uint32_t kBus = 1 << 7 | 2 << 14;

const std::string kReadInner1 = "70>01 71>01 49<00:2 71>00 70>00";
const std::string kReadInner2 = "70>01 71>02 49<00:2 71>00 70>00";
const std::string kReadOuter = "70>06 49<00:2 70>00";
const std::string kRead = "48<00:2";

class EmulatorTest : public testing::Test {
 protected:
   // The steps as one batch, at another place or master where that is asked for.
   std::string run( const std::string& steps,
                    uint32_t retries = 0,
                    uint32_t place = kBus,
                    uint32_t pci = 5 ) {
      Smbus::TransactionRequest batch;
      batch.set_retry_count( retries );
      for ( const std::string& step : wordsOf( steps ) ) {
         Smbus::Request& request = *batch.add_request() = requestOf( step );
         request.set_mastertype( Smbus::MASTER_SCD );
         request.set_pci( pci );
         request.set_address( request.address() | place );
      }
      return execute( *board, batch );
   }

   BoardFolder folder{ textOf( kBoard + "/topology.json" ), textOf( kBoard + "/emulation.json" ) };
   std::unique_ptr< EmulatedBoard > board = folder.load();
};

TEST_F( EmulatorTest, OnlyOpenChannelsOfTheAdapterAnswer ) {
   for ( const auto& [ steps, failed ] :
         { std::pair( "49<00:2", "request 1 of 1" ), std::pair( "71>01", "no acknowledge" ),
           std::pair( "70>02 49<00:2 70>00", "request 2 of 3" ) } ) {
      EXPECT_THAT( run( steps ), HasSubstr( failed ) );
   }
   // 11 and 12 degrees: both pull the lines low.
   EXPECT_EQ( run( "70>07 71>02 49<00:2 49>021000 71>00 70>00" ), "- - 0800 - - -" );
   EXPECT_EQ( board->get( 11, "lowLimit" ), 16 );
   EXPECT_EQ( board->get( 12, "lowLimit" ), 16 );
   EXPECT_EQ( board->get( 10, "lowLimit" ), 75 );
   EXPECT_THAT( run( kRead, 0, 2 << 7 | 2 << 14 ), HasSubstr( "no such adapter" ) );
   EXPECT_THAT( run( kRead, 0, 1 << 7 | 1 << 14 ), HasSubstr( "no such adapter" ) );
   EXPECT_THAT( run( kRead, 0, kBus, 6 ), HasSubstr( "no such adapter" ) );
}

TEST_F( EmulatorTest, FailureBehindTwoMuxesLeavesNoChannelOpen ) {
   for ( auto [ kind, words ] : { std::pair( FaultKind::kNak, "no acknowledge" ),
                                  std::pair( FaultKind::kTimeout, "timed out" ),
                                  std::pair( FaultKind::kCorrupt, "corrupt answer" ),
                                  std::pair( FaultKind::kShort, "short answer" ) } ) {
      board->addFault( 11, { .kind = kind } );
      EXPECT_EQ( run( kReadInner2 ),
                 std::string( "request 3 of 5: read 2 bytes, register 0x00, device 0x49, "
                              "accelerator 2, bus 1: " ) +
                    words );
      EXPECT_EQ( run( kReadOuter ), "- 0c00 -" ) << words;
      EXPECT_EQ( run( kReadInner2 ), "- - 0b00 - -" ) << words;
   }
   board->addFault( 2, { .kind = FaultKind::kNak } );
   EXPECT_THAT( run( kReadInner2 ), HasSubstr( "request 2 of 5: send byte 0x02, device 0x71" ) );
   EXPECT_EQ( board->get( 1, "channels" ), 0 );
}

TEST_F( EmulatorTest, StuckMuxKeepsItsChannels ) {
   board->addFault( 2, { .kind = FaultKind::kStuckMux } );
   EXPECT_THAT( run( kReadInner1 ), HasSubstr( "request 3 of 5" ) ) << "channel not opened";
   board->addFault( 2, { .kind = FaultKind::kStuckMux, .skip = 1 } );
   EXPECT_EQ( run( kReadInner1 ), "- - 0a00 - -" );
   EXPECT_EQ( board->get( 2, "channels" ), 1 ) << "reset ignored";
   EXPECT_EQ( run( kReadInner2 ), "- - 0b00 - -" );
   EXPECT_EQ( board->get( 2, "channels" ), 0 );
}

TEST_F( EmulatorTest, FaultsCountAndSkip ) {
   board->addFault( 13, { .kind = FaultKind::kNak, .count = 2, .skip = 1 } );
   board->addFault( 13, { .kind = FaultKind::kShort } );
   EXPECT_THAT( run( "48>0100 48<00:2" ), HasSubstr( "request 2 of 2" ) );
   EXPECT_THAT( run( kRead ), HasSubstr( "no acknowledge" ) );
   EXPECT_THAT( run( kRead ), HasSubstr( "short answer" ) );
   EXPECT_EQ( run( kRead ), "0d00" );
   board->addFault( 13, { .kind = FaultKind::kNak, .count = 3 } );
   EXPECT_EQ( run( kRead, 3 ), "0d00" ) << "with three repetitions";
   for ( auto [ code, limit ] : { std::pair( 0u, 25 ), std::pair( 3u, 50 ) } ) {
      board->addFault( 13, { .kind = FaultKind::kTimeout } );
      auto start = std::chrono::steady_clock::now();
      run( kRead, 0, kBus | code << 22 );
      EXPECT_GE( std::chrono::steady_clock::now() - start, std::chrono::milliseconds( limit ) );
   }
}

// Start, address, register, repeated start, address, two bytes, stop: 48 bits.
TEST_F( EmulatorTest, TransfersTakeTheTimeOfTheirBits ) {
   BoardFolder slow{ textOf( kBoard + "/topology.json" ),
                     R"({ "bitRate": 5000000, "chips": [ { "did": 13 } ],
      "adapters": [ { "medium": "SCD", "accelerator": 2, "bus": 1, "bitRate": 1000 } ] })" };
   board = slow.load();
   auto start = std::chrono::steady_clock::now();
   run( kRead );
   run( "49<" );
   auto time = std::chrono::steady_clock::now() - start;
   EXPECT_GE( time, std::chrono::milliseconds( 48 + 11 ) );
   EXPECT_LT( time, std::chrono::milliseconds( 1000 ) );
   const std::pair< std::string, unsigned > rows[] = {
      { "49<00:2", 48 }, { "49<", 20 }, { "49>01", 20 }, { "49>0102", 29 } };
   for ( const auto& [ step, bits ] : rows ) {
      auto request = requestOf( step );
      auto transfer = decode( request );
      EXPECT_EQ( bitsOf( transfer, transfer.answerLimit() ), bits ) << step;
   }
}

TEST_F( EmulatorTest, PluggingPowersOn ) {
   run( "70>01 48>0160" );
   for ( uint32_t did : { 13, 1 } ) {
      board->unplug( did );
      EXPECT_THAT( run( did == 1 ? "71>01" : "48<01:1" ), HasSubstr( "no acknowledge" ) );
      board->plug( did );
   }
   EXPECT_EQ( run( "48<01:1 48<00:2 70<" ), "00 0d00 00" )
      << "registers are reset, the temperature is what it was";
}

}  // namespace
