#include <gmock/gmock.h>

#include "BoardFiles/Board.h"
#include "Host/Output/WireLine.h"

using testing::EndsWith;

namespace Host {

using namespace BoardFiles;
namespace {

class WireLineTest : public testing::Test {
 protected:
   Board board = loadBoard( LUMEN_SOURCE_DIR "/Boards/demo", Emulation::Unused );
   WireNames names{ board.wiring };

   // At the FPGA's third bus.
   WireTransfer transfer{ .time = {},
                          .master = Smbus::MASTER_FB_DOM_FPGA,
                          .pci = 512,
                          .accelerator = 5,
                          .bus = 3,
                          .channels = {},
                          .device = 0x48,
                          .operation = Smbus::REQUEST_READ,
                          .size = 2,
                          .reg = 0x10,
                          .registerSize = 2,
                          .written = "",
                          .read = "\x19\x80",
                          .problem = "",
                          .duration = std::chrono::microseconds( 1250 ) };

   std::string place( OpenChannels channels, uint32_t device ) {
      transfer.channels = std::move( channels );
      transfer.device = device;
      return names.placeOf( transfer );
   }
};

TEST_F( WireLineTest, TellsWhatWasAskedAndWhatCame ) {
   auto line = [ & ] { return wireLine( transfer, names ); };
   EXPECT_THAT( line(), EndsWith( " fpga3 device 0x48 read 2 bytes, register 0x0010: 19 80 "
                                  "(1.2 ms)" ) );
   transfer.read = std::string( 33, '\xff' );
   EXPECT_THAT( line(), EndsWith( " ff ff ... 33 bytes (1.2 ms)" ) );
   transfer.operation = Smbus::REQUEST_WRITE;
   transfer.read = "";
   transfer.written = "\x1";
   transfer.size = 1;
   transfer.position = 2;
   transfer.count = 3;
   EXPECT_THAT( line(), EndsWith( " write 1 byte, register 0x0010 = 01: ok (2 of 3, 1.2 ms)" ) );
   transfer.problem = "no acknowledge";
   transfer.size = 0;
   EXPECT_THAT( line(), EndsWith( " send byte 0x10: no acknowledge (2 of 3, 1.2 ms)" ) );
}

TEST_F( WireLineTest, NamesTheChipThatTheOpenChannelsLeadTo ) {
   board.wiring.devices.at( 422 ).label = "port two's";
   board.wiring.devices.at( 410 ).address = 0x48;
   board.wiring.devices.at( 410 ).label.clear();
   EXPECT_EQ( place( {}, 0x48 ), "fpga3 TMP75 0x48" );
   EXPECT_EQ( place( { { 0x70, 1 }, { 0x71, 2 } }, 0x48 ),
              "fpga3 0x70:0x01 0x71:0x02 port two's 0x48" );
   EXPECT_EQ( place( { { 0x70, 2 } }, 0x51 ), "fpga3 0x70:0x02 MorrowFanspinnerIdprom 0x51" );
   EXPECT_EQ( place( { { 0x71, 2 } }, 0x51 ), "fpga3 0x71:0x02 device 0x51" ) << "mux behind mux";
   transfer.master = Smbus::MASTER_I2C;
   transfer.pci = 0;
   EXPECT_EQ( place( {}, 0x49 ), "cpu LM73 0x49" ) << "whatever bus and accelerator";
   transfer.pci = 1;
   EXPECT_EQ( place( {}, 0x49 ), "master 1 pci 0x1 accelerator 5 bus 3 device 0x49" );
}

TEST_F( WireLineTest, FollowsTheMuxesOfABatch ) {
   transfer.operation = Smbus::REQUEST_WRITE;
   transfer.size = 0;
   std::string path;
   for ( auto [ device, byte ] : { std::pair( 0x70u, 1u ),
                                   { 0x71u, 2u },
                                   { 0x48u, 1u },
                                   { 0x71u, 1u },
                                   { 0x71u, 0u },
                                   { 0x70u, 0u } } ) {
      transfer.device = device;
      transfer.reg = byte;
      transfer.channels = names.channelsAfter( transfer );
      path += ";";
      for ( const OpenChannel& channel : transfer.channels ) {
         path += " " + std::to_string( channel.mux ) + ":" + std::to_string( channel.byte );
      }
   }
   EXPECT_EQ( path, "; 112:1; 112:1 113:2; 112:1 113:2; 112:1 113:1; 112:1;" );
}

}  // namespace
}  // namespace Host
