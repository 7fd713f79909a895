#include <gmock/gmock.h>

#include <sstream>

#include "Tests/service/Support.h"

using namespace Tests;
using namespace SmbusService;
using testing::HasSubstr;

namespace {

std::string chips( const std::string& list ) {
   return R"({ "chips": [ )" + list + " ] }";
}

}  // namespace

// What is found begins with the lines of findings.txt.
TEST( BoardLoaderTest, ListsAllThatTheModelsRefuse ) {
   const std::string board = LUMEN_SOURCE_DIR "/Tests/service/refused";
   std::istringstream expected( textOf( board + "/findings.txt" ) );
   try {
      BoardFolder folder( textOf( board + "/topology.json" ), textOf( board + "/emulation.json" ) );
      folder.load();
      FAIL();
   } catch ( const BoardFiles::BoardError& error ) {
      for ( const BoardFiles::Finding& finding : error.findings ) {
         std::string line;
         std::getline( expected, line );
         EXPECT_THAT( finding.text(), HasSubstr( "/" + line ) );
      }
      EXPECT_EQ( expected.peek(), EOF );
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
