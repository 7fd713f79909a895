#include <gmock/gmock.h>

#include "Tests/host/BoardDocuments.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace Host {

using namespace BoardFiles;
namespace {

std::string medium( const std::string& type, const std::string& members ) {
   return R"({ "type": ")" + type + R"(", "ham": "H", )" + members + " }";
}
std::string bus( int id, const std::string& members ) {
   return R"({ "id": )" + std::to_string( id ) + ", " + members + " }";
}
std::string sensor( int did, int address ) {
   return R"({ "did": )" + std::to_string( did ) +
          R"(, "driver": "TMP75", "address": { "address": )" + std::to_string( address ) + " } }";
}

TEST( WiresTest, IgnoresWhatAMediumOfTheTypeDoesNotHave ) {
   const std::string junk = R"("accelerators": 5, "busses": [ {} ])";
   const std::string buses = R"("id": 0, "devices": [ ], "simulated": 7, )";
   Documents documents = kSound;
   documents[ "topology.json" ] =
      "[ " + medium( "SCD", R"("pci": 1, "busses": 5, "devices": [ 1 ], "muxes": {})" ) + ", " +
      medium( "Celestica", R"("busses": [ 5 ], "devices": null)" ) + ", " +
      medium( "FbDomFpga", R"("pci": 1, "accelerators": 1, "devices": 1)" ) + ", " +
      medium( "LinuxFs", R"("muxes": [ {} ], )" + junk ) + ", " + medium( "PLM", buses + junk ) +
      ", " + medium( "IOPort", buses + junk ) + ", " + medium( "SccSpi", buses + junk ) + " ]";
   EXPECT_THAT( findings( documents ), IsEmpty() );
}

TEST( WiresTest, RefusesNumbersThatDoNotTravel ) {
   Documents documents = kSound;
   documents[ "topology.json" ] =
      "[ " +
      medium(
         "FbDomFpga",
         R"("pci": 1, "busses": [ )" + bus( 128, R"("devices": [])" ) + ", " +
            bus( 127,
                 R"("devices": [ )" + sensor( 3, 113 ) +
                    R"( ], "muxes": [ { "did": 3, "busses": [ { "id": 0 }, { "id": 256 } ] } ])" ) +
            " ]" ) +
      " ]";
   EXPECT_THAT(
      findings( documents ),
      ElementsAre( "topology.json: /0/busses/0/id: must be 0 to 127: the number of a bus "
                   "travels in 7 bits",
                   "topology.json: /0/busses/1/muxes/0/busses/0/id: must be 1 to 255: it is "
                   "the byte that opens the channel",
                   "topology.json: /0/busses/1/muxes/0/busses/1/id: must be 1 to 255: it is "
                   "the byte that opens the channel" ) );
}

// The warnings for a topology and objects that can be used.
std::vector< std::string > warnings( const std::string& topology, const std::string& objects ) {
   Tests::TemporaryDirectory directory;
   std::ofstream( directory.path() / "topology.json" ) << topology;
   std::ofstream( directory.path() / "objects.json" ) << R"({ "objects": [ )" + objects + " ] }";
   std::vector< std::string > texts;
   for ( const Finding& warning : loadBoard( directory.path(), Emulation::Unused ).warnings ) {
      texts.push_back( warning.text().substr( directory.path().string().size() + 1 ) );
   }
   return texts;
}

TEST( WiresTest, WarnsOfChipsThatCannotBeToldApart ) {
   const std::string onBus = R"("id": 0, "devices": [ )" + sensor( 1, 72 ) + " ]";
   EXPECT_THAT(
      warnings( "[ " + medium( "I2C", onBus ) + ", " + medium( "PLM", R"("id": 1)" ) + ", " +
                   medium( "I2C", R"("id": 1, "devices": [ )" + sensor( 2, 72 ) + " ]" ) + " ]",
                "" ),
      ElementsAre( "topology.json: /2: warning: requests cannot tell it from /0",
                   "topology.json: /2/devices/0: warning: device 1 answers to address 0x48 "
                   "as well: /0/devices/0" ) );
   // Behind a mux, with a twin above it and another in a channel of its own.
   const std::string channel1 =
      bus( 1, R"("devices": [ )" + sensor( 3, 72 ) + ", " + sensor( 4, 73 ) + " ]" );
   const std::string channel2 = bus( 2, R"("devices": [ )" + sensor( 5, 73 ) + " ]" );
   EXPECT_THAT(
      warnings(
         "[ " +
            medium( "I2C", R"("id": 0, "devices": [ )" + sensor( 1, 72 ) + ", " + sensor( 2, 112 ) +
                              R"( ], "muxes": [ { "did": 2, "busses": [ )" + channel1 + ", " +
                              channel2 + " ] } ]" ) +
            " ]",
         "" ),
      ElementsAre( "topology.json: /0/muxes/0/busses/0/devices/0: warning: device 1 answers "
                   "to address 0x48 as well: /0/devices/0" ) );
   EXPECT_THAT(
      warnings( "[ " + medium( "I2C", onBus ) + " ]",
                R"({ "kind": "gpio", "name": "g", "device": )" + sensor( 1, 74 ) + " }" ),
      ElementsAre( "objects.json: /objects/0/device: warning: device 1 is at address 0x4a "
                   "here, but at 0x48 in /0/devices/0" ) );
}

}  // namespace
}  // namespace Host
