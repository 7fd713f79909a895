#include <gmock/gmock.h>

#include <chrono>
#include <thread>

#include "SmbusService/Emulator/RegisterChip.h"
#include "Tests/service/Support.h"

using namespace Tests;
using namespace SmbusService;
using namespace SmbusService::Emulator;
using testing::HasSubstr;

namespace {

// Mux 1 (0x70) leads to mux 2 (0x71), which leads to sensors 10 and 11, both at 0x49; sensor 12,
// at 0x49 too, is behind mux 1; sensor 13 has address 0x48 and hangs on the adapter itself.
constexpr const char* kTopology = R"([ { "type": "SCD", "ham": "LumenSmbus", "pci": 5,
  "accelerators": [ { "id": 2, "busses": [ { "id": 1,
    "devices": [ { "did": 1, "driver": "PCA9548", "address": { "address": 112 } },
                 { "did": 13, "driver": "TMP75", "address": { "address": 72 } } ],
    "muxes": [ { "did": 1, "busses": [
      { "id": 1,
        "devices": [ { "did": 2, "driver": "Max7356", "address": { "address": 113 } } ],
        "muxes": [ { "did": 2, "busses": [
          { "id": 1, "devices": [ { "did": 10, "driver": "TMP75", "address": { "address": 73 } } ] },
          { "id": 2, "devices": [ { "did": 11, "driver": "TMP75", "address": { "address": 73 } } ] }
        ] } ] },
      { "id": 6, "devices": [ { "did": 12, "driver": "TMP75", "address": { "address": 73 } } ] }
    ] } ] } ] } ] } ])";

constexpr const char* kEmulation = R"({ "chips": [
   { "did": 1 }, { "did": 2 },
   { "did": 10, "set": { "temperature": 10 } }, { "did": 11, "set": { "temperature": 11 } },
   { "did": 12, "set": { "temperature": 12 } }, { "did": 13, "set": { "temperature": 13 } }
   ] })";

constexpr uint32_t kBus = 1 << 7 | 2 << 14;

Smbus::Request onScd( Smbus::Request request, uint32_t place = kBus ) {
   request.set_mastertype( Smbus::MASTER_SCD );
   request.set_pci( 5 );
   request.set_address( request.address() | place );
   return request;
}

class RoutingTest : public testing::Test {
 protected:
   BoardFolder folder{ kTopology, kEmulation };
   std::unique_ptr< EmulatedBoard > board = folder.load();

   std::string run( std::initializer_list< Smbus::Request > requests, uint32_t retries = 0 ) {
      Smbus::TransactionRequest batch = batchOf( requests, retries );
      for ( Smbus::Request& request : *batch.mutable_request() ) {
         request = onScd( request );
      }
      return execute( *board, batch );
   }

   // Reads the sensor behind both muxes, or behind the outer one alone.
   std::string readInner( uint8_t channel ) {
      return run( { sendByte( 0x70, 1 ), sendByte( 0x71, channel ), readBytes( 0x49, 0, 2 ),
                    sendByte( 0x71, 0 ), sendByte( 0x70, 0 ) } );
   }
   std::string readOuter() {
      return run( { sendByte( 0x70, 6 ), readBytes( 0x49, 0, 2 ), sendByte( 0x70, 0 ) } );
   }
   void inject( uint32_t did, const Fault& fault ) { board->addFault( did, fault ); }
};

constexpr const char* kFailedRead =
   "request 3 of 5: read 2 bytes, register 0x00, device 0x49, accelerator 2, bus 1: ";

}  // namespace

TEST_F( RoutingTest, MuxesLeadToTheRightTwin ) {
   EXPECT_EQ( readInner( 1 ), "- - 0a00 - -" );
   EXPECT_EQ( readInner( 2 ), "- - 0b00 - -" );
   EXPECT_EQ( readOuter(), "- 0c00 -" );
   EXPECT_EQ( run( { readBytes( 0x48, 0, 2 ) } ), "0d00" );
   EXPECT_THAT( run( { readBytes( 0x49, 0, 2 ) } ), HasSubstr( "device 0x49" ) )
      << "no channel is open";
   EXPECT_THAT( run( { sendByte( 0x71, 1 ) } ), HasSubstr( "no acknowledge" ) );
   EXPECT_THAT( run( { sendByte( 0x70, 2 ), readBytes( 0x49, 0, 2 ), sendByte( 0x70, 0 ) } ),
                HasSubstr( "request 2" ) )
      << "one bit of two opens nothing";
}

TEST_F( RoutingTest, OpenChannelsAddUp ) {
   // 11 and 12 degrees: both pull the lines low.
   EXPECT_EQ( run( { sendByte( 0x70, 7 ), sendByte( 0x71, 2 ), readBytes( 0x49, 0, 2 ),
                     writeBytes( 0x49, 2, std::string( "\x10\x00", 2 ) ), sendByte( 0x71, 0 ),
                     sendByte( 0x70, 0 ) } ),
              "- - 0800 - - -" );
   EXPECT_EQ( board->get( 11, "lowLimit" ), 16 );
   EXPECT_EQ( board->get( 12, "lowLimit" ), 16 );
   EXPECT_EQ( board->get( 10, "lowLimit" ), 75 );
}

TEST_F( RoutingTest, FailureBehindTwoMuxesLeavesNoChannelOpen ) {
   for ( auto [ kind, words ] : { std::pair( FaultKind::kNak, "no acknowledge" ),
                                  std::pair( FaultKind::kTimeout, "timed out" ),
                                  std::pair( FaultKind::kCorrupt, "corrupt answer" ),
                                  std::pair( FaultKind::kShort, "short answer" ) } ) {
      inject( 11, { .kind = kind } );
      EXPECT_EQ( readInner( 2 ), std::string( kFailedRead ) + words );
      EXPECT_EQ( readOuter(), "- 0c00 -" ) << words;
      EXPECT_EQ( readInner( 2 ), "- - 0b00 - -" ) << words;
   }
   inject( 2, { .kind = FaultKind::kNak } );
   EXPECT_THAT( readInner( 2 ), HasSubstr( "request 2 of 5: send byte 0x02, device 0x71" ) );
   EXPECT_EQ( board->get( 1, "channels" ), 0 );
   EXPECT_EQ( readOuter(), "- 0c00 -" );
}

TEST_F( RoutingTest, StuckMuxKeepsItsChannels ) {
   inject( 2, { .kind = FaultKind::kStuckMux } );
   EXPECT_EQ( readInner( 1 ), std::string( kFailedRead ) + "no acknowledge" )
      << "channel not opened";
   inject( 2, { .kind = FaultKind::kStuckMux, .skip = 1 } );
   EXPECT_EQ( readInner( 1 ), "- - 0a00 - -" );
   EXPECT_EQ( board->get( 2, "channels" ), 1 ) << "reset ignored";
   EXPECT_EQ( readInner( 2 ), "- - 0b00 - -" );
   EXPECT_EQ( board->get( 2, "channels" ), 0 );
}

TEST_F( RoutingTest, FaultsCountAndSkip ) {
   inject( 13, { .kind = FaultKind::kNak, .count = 2, .skip = 1 } );
   inject( 13, { .kind = FaultKind::kShort, .count = 1 } );
   auto reading = [ & ] { return run( { readBytes( 0x48, 0, 2 ) } ); };
   EXPECT_THAT( run( { writeBytes( 0x48, 1, "x" ), readBytes( 0x48, 0, 2 ) } ),
                HasSubstr( "request 2 of 2" ) );
   EXPECT_THAT( reading(), HasSubstr( "no acknowledge" ) );
   EXPECT_THAT( reading(), HasSubstr( "short answer" ) );
   EXPECT_EQ( reading(), "0d00" );
   inject( 13, { .kind = FaultKind::kNak, .count = 3 } );
   EXPECT_EQ( run( { readBytes( 0x48, 0, 2 ) }, 3 ), "0d00" ) << "with three repetitions";
}

TEST_F( RoutingTest, TimeoutTakesItsTime ) {
   for ( auto [ code, limit ] :
         { std::pair( 0u, 25 ), std::pair( 1u, 10 ), std::pair( 3u, 50 ) } ) {
      inject( 13, { .kind = FaultKind::kTimeout } );
      auto start = std::chrono::steady_clock::now();
      execute( *board, batchOf( { onScd( readBytes( 0x48, 0, 2 ), kBus | code << 22 ) } ) );
      EXPECT_GE( std::chrono::steady_clock::now() - start, std::chrono::milliseconds( limit ) );
   }
}

TEST_F( RoutingTest, PluggingPowersOn ) {
   run( { sendByte( 0x70, 1 ), writeBytes( 0x48, 1, "\x60" ) } );
   board->unplug( 13 );
   EXPECT_THAT( run( { readBytes( 0x48, 1, 1 ) } ), HasSubstr( "no acknowledge" ) );
   board->plug( 13 );
   EXPECT_EQ( run( { readBytes( 0x48, 1, 1 ), readBytes( 0x48, 0, 2 ) } ), "00 0d00" )
      << "registers are reset, the temperature is what it was";
   board->unplug( 1 );
   EXPECT_THAT( run( { sendByte( 0x71, 1 ) } ), HasSubstr( "no acknowledge" ) );
   board->plug( 1 );
   EXPECT_EQ( run( { readBytes( 0x70, 0, 0 ) } ), "00" );
}

TEST_F( RoutingTest, AdapterIsTheWholePlace ) {
   for ( uint32_t place : { 2u << 7 | 2 << 14, 1u << 7 | 1 << 14 } ) {
      EXPECT_THAT( execute( *board, batchOf( { onScd( readBytes( 0x48, 0, 2 ), place ) } ) ),
                   HasSubstr( "no such adapter" ) );
   }
   Smbus::Request otherPci = onScd( readBytes( 0x48, 0, 2 ) );
   otherPci.set_pci( 6 );
   EXPECT_THAT( execute( *board, batchOf( { otherPci } ) ), HasSubstr( "no such adapter" ) );
}

namespace {

constexpr Register kRegisters[] = {
   { .number = 0x10, .bytes = 2, .reset = 0x1234, .writable = 0xffff },
   { .number = 0x11, .bytes = 1, .reset = 0x56, .writable = 0x0f },
};
constexpr Quantity kQuantities[] = {
   { .name = "low", .number = 0x10, .step = 0.5, .bits = 4, .isSigned = false },
   { .name = "high", .number = 0x10, .step = 0.5, .bits = 4, .shift = 12 },
};

// Its pointer advances, and register 0x20 is a block.
class BlockChip : public RegisterChip {
 public:
   explicit BlockChip( ByteOrder order ) : RegisterChip( order, kRegisters, kQuantities ) {
      blocks()[ 0x20 ] = "abc";
   }
   uint8_t following( uint8_t number ) const override { return number + 1; }
};

}  // namespace

TEST( RegisterChipTest, ServesWordsBytesAndBlocks ) {
   for ( bool highFirst : { true, false } ) {
      EmulatedBoard board;
      Bus& bus = board.bus( AdapterId::of( Smbus::MASTER_I2C, 0, 0, 0 ) );
      auto site = std::make_unique< Site >();
      site->did = 1;
      site->address = 0x48;
      site->chip =
         std::make_unique< BlockChip >( highFirst ? ByteOrder::kHighFirst : ByteOrder::kLowFirst );
      board.add( bus, bus.root(), std::move( site ) );
      auto run = [ & ]( std::initializer_list< Smbus::Request > requests ) {
         return execute( board, batchOf( requests ) );
      };
      EXPECT_EQ( run( { readBytes( 0x48, 0x10, 4 ) } ), highFirst ? "123456ff" : "341256ff" );
      EXPECT_EQ(
         run( { request( Smbus::REQUEST_BLOCK_READ, 0x48, 0x20, 0 ), readBytes( 0x48, 0x20, 5 ),
                request( Smbus::REQUEST_BLOCK_WRITE, 0x48, 0x20, 2, "xy" ),
                request( Smbus::REQUEST_BLOCK_READ, 0x48, 0x20, 0 ) } ),
         "616263 03616263ff - 7879" );
      EXPECT_EQ( run( { request( Smbus::REQUEST_PROCESS_CALL, 0x48, 0x10, 2, "\x78\x9a" ),
                        writeBytes( 0x48, 0x11, "\xff" ), readBytes( 0x48, 0x11, 1 ),
                        readBytes( 0x48, 0x10, 2 ) } ),
                 "56ff - 5f 789a" );
      // A wide register number is just more bytes, most significant first.
      for ( auto [ sizeCode, number, data ] :
            { std::tuple( 0u, 0x10010203u, "\x04" ), std::tuple( 2u, 0x1001u, "\x02\x03" ) } ) {
         Smbus::Request wide = writeBytes( 0x48, number, data );
         wide.set_address( 0x48 | sizeCode << 25 );
         EXPECT_EQ(
            run( { writeBytes( 0x48, 0x10, "\x55\x66\x07" ), wide, readBytes( 0x48, 0x10, 3 ) } ),
            "- - 010253" );
      }
      run( { writeBytes( 0x48, 0x10, "\x78\x9a" ) } );
      EXPECT_EQ( board.get( 1, "low" ), highFirst ? 5 : 4 );
      EXPECT_EQ( board.get( 1, "high" ), highFirst ? 3.5 : -3.5 );
      board.set( 1, "high", -1 );
      EXPECT_EQ( run( { readBytes( 0x48, 0x10, 2 ) } ), highFirst ? "e89a" : "78ea" );
   }
}
