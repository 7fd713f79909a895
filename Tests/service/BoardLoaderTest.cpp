#include <gmock/gmock.h>

#include "Tests/service/Support.h"

using namespace Tests;
using namespace SmbusService;
using testing::HasSubstr;
using testing::StartsWith;

namespace {

std::string chips( const std::string& list ) {
   return R"({ "chips": [ )" + list + " ] }";
}

}  // namespace

TEST( BoardLoaderTest, ListsAllThatTheModelsRefuse ) {
   BoardFolder folder(
      R"([
      { "type": "I2C", "ham": "H", "id": 0, "devices": [
         { "did": 1, "driver": "TMP75", "address": { "address": 1 } },
         { "did": 2, "driver": "Warp", "address": { "address": 2 } },
         { "did": 3, "driver": null, "address": { "address": 3 } },
         { "did": 4, "driver": "PCA9548", "address": { "address": 4 } },
         { "did": 5, "driver": "EEPROM", "address": { "address": 5 } } ],
        "muxes": [ { "did": 1, "busses": [ { "id": 1 } ] } ] },
      { "type": "PLM", "ham": "H", "id": 0, "muxes": [ { "did": 4, "busses": [ { "id": 1 } ] } ] },
      { "type": "PLM", "ham": "H", "id": 1 } ])",
      chips( R"({ "did": 1, "contents": "x", "set": { "lowLimit": -129, "a/b~c": 1 } },
                                 { "did": 2 }, { "did": 3 }, { "did": 4 },
                                 { "did": 5, "contents": ")" +
             std::string( 257, 'x' ) + "\" }" ) );
   const char* expected[] = {
      "topology.json: /2: warning: requests cannot tell it from /1",
      "emulation.json: /chips/0: topology.json has muxes behind it, but a TMP75 is no mux",
      "emulation.json: /chips/0/contents: the chip has no memory to fill",
      "emulation.json: /chips/0/set/lowLimit: 'lowLimit' can be -128 to 127.9375 on this chip, not "
      "-129",
      "emulation.json: /chips/0/set/a~1b~0c: unknown quantity 'a/b~c'; this chip has temperature,",
      "emulation.json: /chips/1: \"model\" is missing, and no model is called like the driver, "
      "'Warp'; there are EEPROM, IR357x",
      "emulation.json: /chips/2: \"model\" is missing, and the device has no driver; there are",
      "emulation.json: /chips/3: topology.json has /1/muxes/0/busses/0 behind it, on another "
      "adapter",
      "emulation.json: /chips/4/contents: more than 256 bytes",
   };
   try {
      folder.load();
      FAIL();
   } catch ( const BoardFiles::BoardError& error ) {
      ASSERT_EQ( error.findings.size(), std::size( expected ) );
      for ( size_t i = 0; i < std::size( expected ); ++i ) {
         EXPECT_THAT( error.findings[ i ].text(),
                      StartsWith( folder.path() + "/" + expected[ i ] ) );
      }
   }
   BoardFolder unknown( kSensorTopology, chips( R"({ "did": 16, "model": "Warp" })" ) );
   try {
      unknown.load();
      FAIL();
   } catch ( const BoardFiles::BoardError& error ) {
      EXPECT_THAT( error.findings[ 0 ].text(),
                   HasSubstr( "/chips/0/model: unknown model 'Warp'; there are" ) );
   }
}

TEST( BoardLoaderTest, ServesEveryMediumAtItsMaster ) {
   const std::string device = R"("devices": [ { "did": 1 } ])";
   const std::string bus = R"("busses": [ { "id": 3, )" + device + " } ]";
   const std::string accelerator = R"("accelerators": [ { "id": 4, )" + bus + " } ]";
   const std::pair< std::string, Smbus::MasterType > rows[] = {
      { R"("SCD", "pci": 9, )" + accelerator, Smbus::MASTER_SCD },
      { R"("Celestica", )" + accelerator, Smbus::MASTER_CELESTICA },
      { R"("FbDomFpga", "pci": 9, )" + bus, Smbus::MASTER_FB_DOM_FPGA },
      { R"("I2C", "id": 8, )" + device, Smbus::MASTER_I2C },
      { R"("I2C", "simulated": true, "id": 8, )" + device, Smbus::MASTER_SIMULATED },
      { R"("IOPort", "id": 8, )" + device, Smbus::MASTER_IO_PORT },
      { R"("PLM", "id": 8, )" + device, Smbus::MASTER_PLM },
      { R"("SccSpi", "id": 8, )" + device, Smbus::MASTER_SCC_SPI },
   };
   for ( const auto& [ members, master ] : rows ) {
      BoardFolder folder( R"([ { "ham": "H", "type": )" + members + " } ]",
                          chips( R"({ "did": 1 })" ),
                          R"({ "objects": [ { "kind": "gpio", "name": "g", "device": {
                                 "did": 1, "driver": "TMP75", "address": { "address": 72 } } } ] })" );
      Smbus::Request reading = readBytes( 0x48, 2, 2 );
      reading.set_mastertype( master );
      reading.set_pci( members.find( "pci" ) == std::string::npos ? 0 : 9 );
      reading.set_address( reading.address() | 3 << 7 | 4 << 14 );
      EXPECT_EQ( execute( *folder.load(), batchOf( { reading } ) ), "4b00" ) << members;
   }
}
