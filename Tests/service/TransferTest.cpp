#include <fmt/format.h>
#include <gtest/gtest.h>

#include "SmbusService/Transfer.h"
#include "Tests/service/Support.h"

using namespace Tests;
using namespace SmbusService;

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
      AddressWord a = decodeAddressWord( word );
      EXPECT_EQ( fmt::format( "{} {} {} {:d} {} {} {} {}", a.device, a.bus, a.accelerator,
                              a.plainTransfer, a.registerSize, a.busTimeout.count(),
                              a.writeDelay.count(), a.readDelay.count() ),
                 fields );
   }
}

TEST( AdapterIdTest, SingleBusMastersIgnoreTheNumbersInTheAddress ) {
   for ( int number = Smbus::MasterType_MIN; number <= Smbus::MasterType_MAX; ++number ) {
      auto master = static_cast< Smbus::MasterType >( number );
      bool hasAccelerators = master == Smbus::MASTER_SCD || master == Smbus::MASTER_CELESTICA;
      bool hasBusses = hasAccelerators || master == Smbus::MASTER_FB_DOM_FPGA;
      AdapterId plain = AdapterId::of( master, 7, 0, 0 );
      EXPECT_EQ( AdapterId::of( master, 7, 1, 0 ) != plain, hasAccelerators ) << master;
      EXPECT_EQ( AdapterId::of( master, 7, 0, 1 ) != plain, hasBusses ) << master;
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
      { with( readBytes( 0, 0, 1 ), kScdAddress | 3 << 14, Smbus::MASTER_SCD ),
        "read 1 byte, register 0x00, device 0x48, accelerator 3, bus 1" },
      { readBytes( 0x48, 0, 0 ), "receive byte, device 0x48, bus 0" },
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
