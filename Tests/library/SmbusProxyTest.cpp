#include <gmock/gmock.h>

#include <chrono>

#include "Components/SmbusProxy.h"
#include "Tests/support/FakeDevice.h"
#include "Tests/support/TraceLog.h"

using namespace testing;

namespace {

constexpr uint8_t kRegSize = 1;

class RawEndpoint : public testing::Test {
 protected:
   void make( const Tests::DriverArguments& args ) {
      proxy = Tests::createDevice( "SmbusProxyDriver", ham )
                 ->newSmbusProxy( Tests::argumentsOf( args ) );
   }

   Tests::FakeHam ham;
   Tests::TraceLog traces;
   Component::LogicalDevice::SmbusProxy* proxy = nullptr;
   uint8_t bytes[ 255 ] = {};
   uint16_t word = 0;
};

TEST_F( RawEndpoint, MakesOneTransferOfEachOperationAndGivesNoPartOfABlock ) {
   make( {} );
   EXPECT_EQ( traces.take().back(), "0 setting write delay of 0 useconds\n" );
   ham.load( 0x10, "0a0b0c" );
   uint32_t length = 0;
   EXPECT_EQ( proxy->receiveByte( bytes ), 0 );
   EXPECT_EQ( proxy->sendByte( 4 ), 0 );
   EXPECT_EQ( proxy->readByte( 0x10, kRegSize, bytes ), 0 );
   EXPECT_EQ( proxy->writeByte( 0x20, kRegSize, 5 ), 0 );
   EXPECT_EQ( proxy->readWord( 0x10, kRegSize, &word ), 0 );
   EXPECT_EQ( word, 0x0B0A );
   EXPECT_EQ( proxy->writeWord( 0x20, kRegSize, 0x1234 ), 0 );
   EXPECT_EQ( proxy->blockRead( 0x10, kRegSize, bytes, &length ), 0 );
   EXPECT_EQ( length, 3u );
   EXPECT_EQ( bytes[ 2 ], 0x0C );
   EXPECT_EQ( proxy->blockWrite( 0x20, kRegSize, bytes, 2 ), 0 );
   EXPECT_EQ( proxy->i2cBlockRead( 0x10, kRegSize, bytes, 2 ), 0 );
   EXPECT_EQ( proxy->i2cBlockWrite( 0x20, kRegSize, bytes, 3 ), 0 );
   EXPECT_EQ( proxy->processCall( 0x10, kRegSize, 0x1234, &word ), 0 );
   EXPECT_THAT( ham.log,
                ElementsAre( "Q 00", "S 04", "R8 10", "W8 20=05", "R16 10", "W16 20=3412", "RB 10",
                             "WB 20=0a0b", "R2 10", "W3 20=0a0b0c", "PC 10=3412" ) );

   ham.failOn( "R", PL_STATUS_FAILURE );
   EXPECT_EQ( proxy->blockRead( 0x10, kRegSize, bytes, &length ), PL_STATUS_FAILURE );
   EXPECT_EQ( length, 0u );
   EXPECT_EQ( proxy->i2cBlockRead( 0x10, kRegSize, bytes, 4 ), PL_STATUS_IO_ERROR );
   EXPECT_EQ( proxy->i2cBlockRead( 0x10, kRegSize, bytes, 0 ), PL_STATUS_FAILURE );
}

TEST_F( RawEndpoint, PausesAfterReadsAndLongerAfterWritesAndProcessCalls ) {
   make( { { "localReadDelayMs", "20" }, { "localWriteDelayMs", "100" } } );
   EXPECT_THAT( traces.lines, IsSupersetOf( { "0 setting read delay of 20000 useconds\n",
                                              "0 setting write delay of 100000 useconds\n" } ) );
   auto expectPause = []( int milliseconds, auto run ) {
      auto start = std::chrono::steady_clock::now();
      EXPECT_EQ( run(), PL_STATUS_OK );
      EXPECT_GE( std::chrono::steady_clock::now() - start,
                 std::chrono::milliseconds( milliseconds ) );
   };
   expectPause( 20, [ & ] { return proxy->readByte( 1, kRegSize, bytes ); } );
   expectPause( 100, [ & ] { return proxy->writeByte( 1, kRegSize, 1 ); } );
   expectPause( 100, [ & ] { return proxy->processCall( 1, kRegSize, 1, &word ); } );
}

}  // namespace
