#include <gtest/gtest.h>

#include "SmbusService/Transfer.h"
#include "Tests/service/Support.h"

using namespace Tests;
using namespace SmbusService;

TEST( AddressWordTest, HasEveryFieldInItsPlace ) {
   AddressWord word = decodeAddressWord( 0x34000050 );
   EXPECT_EQ( word.device, 0x50 );
   EXPECT_EQ( word.registerSize, 2 );
   EXPECT_EQ( word.writeDelay.count(), 20 );
   EXPECT_EQ( word.readDelay.count(), 0 );
   EXPECT_FALSE( word.plainTransfer );

   word = decodeAddressWord( 0xffffffff );
   EXPECT_EQ( word.device, 0x7f );
   EXPECT_EQ( word.bus, 0x7f );
   EXPECT_EQ( word.accelerator, 0x7f );
   EXPECT_TRUE( word.plainTransfer );
   EXPECT_EQ( word.registerSize, 0 );
   EXPECT_EQ( word.busTimeout.count(), 1000 );
   EXPECT_EQ( word.writeDelay.count(), 70 );
   EXPECT_EQ( word.readDelay.count(), 70 );

   EXPECT_EQ( decodeAddressWord( 5 << 7 ).bus, 5 );
   EXPECT_EQ( decodeAddressWord( 5 << 14 ).accelerator, 5 );
   EXPECT_EQ( decodeAddressWord( 0 ).registerSize, 4 );
   EXPECT_EQ( decodeAddressWord( 3 << 22 ).busTimeout.count(), 50 );
   EXPECT_EQ( decodeAddressWord( 1u << 30 ).readDelay.count(), 1 );
   EXPECT_EQ( decodeAddressWord( 1 << 27 ).writeDelay.count(), 50 );
}

TEST( AdapterIdTest, SingleBusMastersIgnoreTheNumbersInTheAddress ) {
   for ( auto [ master, accelerators, busses ] :
         { std::tuple( Smbus::MASTER_SIMULATED, false, false ),
           std::tuple( Smbus::MASTER_I2C, false, false ),
           std::tuple( Smbus::MASTER_SCD, true, true ),
           std::tuple( Smbus::MASTER_IO_PORT, false, false ),
           std::tuple( Smbus::MASTER_CELESTICA, true, true ),
           std::tuple( Smbus::MASTER_PLM, false, false ),
           std::tuple( Smbus::MASTER_SCC_SPI, false, false ),
           std::tuple( Smbus::MASTER_FB_DOM_FPGA, false, true ) } ) {
      AdapterId plain = AdapterId::of( master, 7, 0, 0 );
      EXPECT_EQ( AdapterId::of( master, 7, 1, 0 ) != plain, accelerators ) << master;
      EXPECT_EQ( AdapterId::of( master, 7, 0, 1 ) != plain, busses ) << master;
      EXPECT_NE( AdapterId::of( master, 8, 0, 0 ), plain ) << master;
   }
}

namespace {

struct Row {
   Smbus::Request request;
   std::string text;
};

Smbus::Request with( Smbus::Request request, uint32_t address, Smbus::MasterType master ) {
   request.set_address( address );
   request.set_mastertype( master );
   return request;
}

}  // namespace

TEST( TransferTest, IsDescribedForPeople ) {
   constexpr uint32_t kScdAddress = 0x48 | 1 << 7 | kOneByteRegisters;
   const Row rows[] = {
      { with( readBytes( 0, 0, 2 ), kScdAddress, Smbus::MASTER_SCD ),
        "read 2 bytes, register 0x00, device 0x48, bus 1" },
      { with( readBytes( 0, 0, 1 ), kScdAddress | 3 << 14, Smbus::MASTER_SCD ),
        "read 1 byte, register 0x00, device 0x48, accelerator 3, bus 1" },
      { readBytes( 0x48, 0, 0 ), "receive byte, device 0x48, bus 0" },
      { sendByte( 0x70, 4 ), "send byte 0x04, device 0x70, bus 0" },
      { with( writeBytes( 0, 0x12, "x" ), 0x50 | 2 << 25, Smbus::MASTER_I2C ),
        "write 1 byte, register 0x0012, device 0x50, bus 0" },
      { with( writeBytes( 0, 0x12, "xyz" ), 0x50, Smbus::MASTER_I2C ),
        "write 3 bytes, register 0x00000012, device 0x50, bus 0" },
      { request( Smbus::REQUEST_PROCESS_CALL, 9, 0xab, 2, "xy" ),
        "process call, register 0xab, device 0x09, bus 0" },
      { request( Smbus::REQUEST_BLOCK_READ, 9, 1, 0 ),
        "block read, register 0x01, device 0x09, bus 0" },
      { request( Smbus::REQUEST_BLOCK_WRITE, 9, 1, 2, "xy" ),
        "block write 2 bytes, register 0x01, device 0x09, bus 0" },
   };
   for ( const Row& row : rows ) {
      Transfer transfer = decode( row.request );
      EXPECT_EQ( describe( transfer ), row.text );
      EXPECT_EQ( problemOf( row.request, transfer ), std::nullopt ) << row.text;
   }
}

TEST( TransferTest, MalformedRequestsAreFound ) {
   Smbus::Request withoutType = readBytes( 0x48, 0, 2 );
   withoutType.clear_type();
   Smbus::Request withoutMaster = readBytes( 0x48, 0, 2 );
   withoutMaster.clear_mastertype();
   const Row rows[] = {
      { withoutType, "missing or unknown request type" },
      { withoutMaster, "missing or unknown master type" },
      { with( readBytes( 0, 0, 2 ), 0x48 | 3 << 25, Smbus::MASTER_I2C ),
        "meaningless register size code" },
      { readBytes( 0x48, 0x100, 2 ), "register number 0x100 is too wide" },
      { with( readBytes( 0, 0x10000, 2 ), 0x48 | 2 << 25, Smbus::MASTER_I2C ),
        "register number 0x10000 is too wide" },
      { request( Smbus::REQUEST_WRITE, 0x48, 0x100, 0 ), "register number 0x100 is too wide" },
      { readBytes( 0x48, 0, 8193 ), "more than 8192 bytes" },
      { request( Smbus::REQUEST_BLOCK_WRITE, 9, 1, 256, std::string( 256, 'x' ) ),
        "more than 255 bytes" },
      { request( Smbus::REQUEST_PROCESS_CALL, 9, 1, 1, "x" ), "a process call has a word of data" },
      { request( Smbus::REQUEST_WRITE, 9, 1, 2, "x" ), "1 byte of data where 2 bytes belong" },
      { request( Smbus::REQUEST_READ, 9, 1, 2, "xy" ), "2 bytes of data where 0 bytes belong" },
   };
   for ( const Row& row : rows ) {
      EXPECT_EQ( problemOf( row.request, decode( row.request ) ), row.text );
   }
}
