#include <fmt/format.h>
#include <gtest/gtest.h>

#include "SmbusService/Transfer.h"
#include "Tests/service/Support.h"

using namespace SmbusService;
using namespace Smbus;

TEST( AddressWordTest, HasEveryFieldInItsPlace ) {
   // Device, bus, accelerator, plain transfer, register size, bus timeout, write and read delay.
   const std::pair< uint32_t, const char* > rows[] = {
      { 0, "0 0 0 0 4 0 0 0" },
      { 0x34000050, "80 0 0 0 2 0 20 0" },
      { 5 << 7, "0 5 0 0 4 0 0 0" },
      { 5 << 14, "0 0 5 0 4 0 0 0" },
      { 1 << 21, "0 0 0 1 4 0 0 0" },
      { 3 << 22, "0 0 0 0 4 50 0 0" },
      { 1 << 27, "0 0 0 0 4 0 50 50" },
      { 1u << 30, "0 0 0 0 4 0 0 1" },
      { 0xffffffff, "127 127 127 1 0 1000 70 70" },
   };
   for ( const auto& [ word, fields ] : rows ) {
      AddressWord a = AddressWord::of( word );
      EXPECT_EQ( fmt::format( "{} {} {} {:d} {} {} {} {}", a.device, a.bus, a.accelerator,
                              a.plainTransfer, a.registerSize, a.busTimeout.count(),
                              a.writeDelay.count(), a.readDelay.count() ),
                 fields );
   }
}

TEST( TransferTest, SingleBusMastersIgnoreTheNumbersInTheAddress ) {
   const char* places[] = {
      "bus 0", "bus 0", "accelerator 3, bus 1", "bus 0", "accelerator 3, bus 1", "bus 0",
      "bus 0", "bus 1" };
   Request request;
   request.set_address( 0x0200c0c8 );
   for ( int number = MasterType_MIN; number <= MasterType_MAX; ++number ) {
      request.set_mastertype( static_cast< MasterType >( number ) );
      EXPECT_EQ( describe( decode( request ) ),
                 std::string( "receive byte, device 0x48, " ) + places[ number ] );
   }
}

// Register numbers have four bytes, two at 0x04000000 and one at 0x02000000.
TEST( TransferTest, IsDescribedForPeopleOrRefused ) {
   struct Row {
      RequestType type;
      uint32_t address, reg, size;
      std::string data;
      std::string text;  // "!" before what is wrong with it
   };
   const Row rows[] = {
      { REQUEST_READ, 0x02000048, 0, 1, "", "read 1 byte, register 0x00, device 0x48, bus 0" },
      { REQUEST_READ, 0x02000048, 0, 0, "", "receive byte, device 0x48, bus 0" },
      { REQUEST_WRITE, 0x02000048, 0xab, 0, "", "send byte 0xab, device 0x48, bus 0" },
      { REQUEST_WRITE, 0x04000050, 0x12, 1, "x",
        "write 1 byte, register 0x0012, device 0x50, bus 0" },
      { REQUEST_WRITE, 0x50, 0x12, 3, "xyz",
        "write 3 bytes, register 0x00000012, device 0x50, bus 0" },
      { REQUEST_PROCESS_CALL, 0x02000009, 0xab, 2, "xy",
        "process call, register 0xab, device 0x09, bus 0" },
      { REQUEST_BLOCK_READ, 0x02000009, 1, 0, "", "block read, register 0x01, device 0x09, bus 0" },
      { REQUEST_BLOCK_WRITE, 0x02000009, 1, 2, "xy",
        "block write 2 bytes, register 0x01, device 0x09, bus 0" },
      { REQUEST_READ, 0x06000048, 0, 2, "", "!meaningless register size code" },
      { REQUEST_READ, 0x02000048, 0x100, 2, "", "!register number 0x100 is too wide" },
      { REQUEST_READ, 0x04000048, 0x10000, 2, "", "!register number 0x10000 is too wide" },
      { REQUEST_WRITE, 0x04000048, 0x100, 0, "", "!register number 0x100 is too wide" },
      { REQUEST_READ, 0x02000048, 0, 8193, "", "!more than 8192 bytes" },
      { REQUEST_BLOCK_WRITE, 0x02000009, 1, 256, std::string( 256, 'x' ), "!more than 255 bytes" },
      { REQUEST_PROCESS_CALL, 0x02000009, 1, 1, "x", "!a process call has a word of data" },
      { REQUEST_WRITE, 0x02000009, 1, 2, "x", "!1 byte of data where 2 bytes belong" },
      { REQUEST_READ, 0x02000009, 1, 2, "xy", "!2 bytes of data where 0 bytes belong" },
   };
   Request request;
   EXPECT_EQ( problemOf( request, decode( request ) ), "missing or unknown request type" );
   request.set_type( REQUEST_READ );
   EXPECT_EQ( problemOf( request, decode( request ) ), "missing or unknown master type" );
   for ( const Row& row : rows ) {
      request = Tests::request( row.type, 0, row.reg, row.size, row.data );
      request.set_address( row.address );
      Transfer transfer = decode( request );
      auto problem = problemOf( request, transfer );
      EXPECT_EQ( problem ? "!" + *problem : describe( transfer ), row.text );
   }
}
