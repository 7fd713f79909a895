#include <gmock/gmock.h>

#include "Tests/service/Steps.h"

using namespace Tests;
using namespace SmbusService;
using namespace SmbusService::Emulator;
using testing::HasSubstr;

namespace {

// Mux 1 (0x70) leads to mux 2 (0x71), which leads to sensors 10 and 11, both at 0x49.
const std::string kTwins = textOf( LUMEN_SOURCE_DIR "/Tests/service/twins/topology.json" );
const std::string kEmulation = textOf( LUMEN_SOURCE_DIR "/Tests/service/twins/emulation.json" );

std::string run( EmulatedBoard& board, const std::string& steps, uint64_t client = 1 ) {
   Smbus::TransactionResponse reply;
   Batch( board, { .number = client } ).execute( twinsBatchOf( steps ), reply );
   return summary( reply );
}

std::unique_ptr< EmulatedBoard > boardWith( const std::string& muxMember ) {
   std::string topology = kTwins;
   topology.insert( topology.find( R"("did": 2, "busses")" ), muxMember );
   return BoardFolder( topology, kEmulation ).load();
}

}  // namespace

TEST( MuxesTest, ChannelLeftOpenIsClosedBeforeAnotherClientsBatch ) {
   auto board = boardWith( "" );
   EXPECT_EQ( run( *board, "70>01 71>02" ), "- -" );
   EXPECT_EQ( run( *board, "49<00:2" ), "0b00" ) << "its own client finds it open";
   EXPECT_THAT( run( *board, "49<00:2", 2 ), HasSubstr( "no acknowledge" ) );
   EXPECT_EQ( run( *board, "70>01 71<", 2 ), "- 00" ) << "the inner mux was closed, too";
   // A register number that is read, and the last byte of what is written, are control bytes.
   for ( const char* steps : { "70<01:1", "70>0001" } ) {
      run( *board, steps );
      EXPECT_THAT( run( *board, "71<", 2 ), HasSubstr( "no acknowledge" ) ) << steps;
   }
}

// The reset that is ignored leaves channel 1 open, and the selection that is ignored does not close
// it: sensor 10 answers where 11 is asked.
TEST( MuxesTest, StuckMuxGivesItsNeighboursValueUnlessItIsVerified ) {
   const Fault stuck{ .kind = FaultKind::kStuckMux, .count = 2, .skip = 1 };
   const std::string read10 = "70>01 71>01 49<00:2 71>00 70>00";
   const std::string read11 = "70>01 71>02 49<00:2 71>00 70>00";
   auto trusting = boardWith( "" );
   trusting->addFault( 2, stuck );
   EXPECT_EQ( run( *trusting, read10 ), "- - 0a00 - -" );
   EXPECT_EQ( run( *trusting, read11 ), "- - 0a00 - -" );

   auto verifying = boardWith( R"("verify": true, )" );
   verifying->addFault( 2, stuck );
   for ( const char* problem : { "request 4 of 5", "the channels of mux 0x71 cannot be closed" } ) {
      std::string answer = run( *verifying, read10 );
      EXPECT_THAT( answer, HasSubstr( problem ) );
      EXPECT_THAT( answer, HasSubstr( ": the mux has control byte 0x01 instead of 0x00" ) );
   }
   EXPECT_EQ( run( *verifying, read11 ), "- - 0b00 - -" );
   verifying->addFault( 2, { .kind = FaultKind::kStuckMux } );
   EXPECT_THAT( run( *verifying, read11 ), HasSubstr( "control byte 0x00 instead of 0x02" ) );
}
