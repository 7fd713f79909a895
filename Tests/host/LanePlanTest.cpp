#include <gmock/gmock.h>

#include "Host/Session/LanePlan.h"
#include "Tests/host/Adapters.h"

namespace Host {
namespace {

using Lanes = std::vector< std::vector< size_t > >;

// Devices 1, 2 and 3 hang on an adapter each, device 4 on none.
struct LanePlanTest : testing::Test {
   LanePlanTest() {
      for ( uint32_t did : { 1, 2, 3 } ) {
         Tests::addAdapter( board.wiring, did );
      }
      board.wiring.devices[ 4 ] = {};
      board.wiring.labels[ "scd<0x48>" ] = 3;
   }

   void add( const std::string& device, uint8_t address = 0 ) {
      board.objects.push_back(
         { .kind = Kind::Led, .name = "", .device = device, .address = address } );
   }

   Board board{ .directory = "", .topology = "" };
};

TEST_F( LanePlanTest, HasAnAdaptersObjectsTogether ) {
   for ( const char* device : { R"({"did":2})", "{}", R"({"did":1})", R"({"did":2})",
                                R"({"did":4})", R"({"did":9})" } ) {
      add( device );
   }
   add( "scd", 0x48 );
   EXPECT_EQ( planLanes( board, 9 ), ( Lanes{ { 0, 3 }, { 1, 4, 5 }, { 2 }, { 6 } } ) );
   EXPECT_EQ( planLanes( board, 3 ), ( Lanes{ { 0, 3, 6 }, { 1, 4, 5 }, { 2 } } ) );
}

TEST_F( LanePlanTest, NeverPartsADevicesObjects ) {
   add( R"({"did":3})" );
   add( R"({"did":2})" );
   add(
      R"({"did":1,"multiDeviceArgs":{"leds":"{\"did\":2,\"multiDeviceArgs\":{\"x\":\"{}\"}}"}})" );
   add( R"({"did":1})" );
   EXPECT_EQ( planLanes( board, 9 ), ( Lanes{ { 0 }, { 1, 2, 3 } } ) );
   EXPECT_EQ( ChipSharing( board ).with( 2 ), ( std::vector< size_t >{ 1, 2, 3 } ) );
}

}  // namespace
}  // namespace Host
