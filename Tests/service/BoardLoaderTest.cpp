#include <gmock/gmock.h>

#include "SmbusService/Emulator/BoardLoader.h"
#include "Tests/service/Support.h"

using namespace Tests;
using namespace SmbusService;
using testing::StartsWith;

namespace {

std::string problemOf( const BoardFolder& folder ) {
   try {
      folder.load();
   } catch ( const std::runtime_error& error ) {
      EXPECT_THAT( error.what(), StartsWith( folder.path() + "/" ) );
      return std::string( error.what() ).substr( folder.path().size() + 1 );
   }
   return "none";
}

const std::string kNoChips = R"({ "chips": [] })";

std::string chips( const std::string& chip ) {
   return "{ \"chips\": [ " + chip + " ] }";
}

}  // namespace

TEST( BoardLoaderTest, ProblemsInTheTopologyHaveTheirPlace ) {
   struct Row {
      const char* topology;
      const char* problem;
   };
   for (
      const Row& row : {
         Row{ "{}", "topology.json: must be an array" },
         Row{ "[\n  { \"type\": }\n]", "topology.json: line 2, column 13: Invalid value." },
         Row{ "[ 1 ]", "topology.json: /0: must be an object" },
         Row{ "[ {} ]", "topology.json: /0: \"type\" is missing" },
         Row{ R"([ { "type": "Warp" } ])", "topology.json: /0/type: unknown medium 'Warp'" },
         Row{ R"([ { "type": "SCD" } ])", "topology.json: /0: \"pci\" is missing" },
         Row{ R"([ { "type": "Celestica", "accelerators": [ { "id": -1 } ] } ])",
              "topology.json: /0/accelerators/0/id: must be an unsigned integer" },
         Row{ R"([ { "type": "FbDomFpga", "pci": 1, "busses": [ { "id": "x" } ] } ])",
              "topology.json: /0/busses/0/id: must be an integer" },
         Row{ R"([ { "type": "PLM", "devices": [ {}, 1 ] } ])",
              "topology.json: /0/devices/0: \"did\" is missing" },
         Row{
            R"([ { "type": "PLM", "devices": [ { "did": 1, "address": { "address": 128 } } ] } ])",
            "topology.json: /0/devices/0/address/address: must be at most 127" },
         Row{ R"([ { "type": "PLM", "muxes": [ { "did": 1 } ] },
                      { "type": "IOPort", "muxes": [ { "did": 1 } ] } ])",
              "topology.json: /1/muxes/0/did: the mux is already on another adapter" },
      } ) {
      EXPECT_EQ( problemOf( BoardFolder( row.topology, kNoChips ) ), row.problem );
   }
}

TEST( BoardLoaderTest, ProblemsWithChipsHaveTheirPlace ) {
   const std::string topology = R"([ { "type": "I2C", "devices": [
         { "did": 16, "driver": "TMP75", "address": { "address": 72 } },
         { "did": 17, "driver": "Warp", "address": { "address": 73 } }, { "did": 18 } ],
      "muxes": [ { "did": 16, "busses": [] } ] }, { "type": "IOPort", "devices": [
         { "did": 19, "driver": "TMP75", "address": { "address": 72 } } ] } ])";
   struct Row {
      std::string emulation;
      std::string problem;
   };
   for ( const Row& row : {
            Row{ "[]", "emulation.json: must be an object" },
            Row{ "{}", "emulation.json: \"chips\" is missing" },
            Row{ chips( R"({ "did": 5 })" ),
                 "emulation.json: /chips/0/did: topology.json has no device 5 on a bus" },
            Row{ chips( R"({ "did": 18 })" ),
                 "emulation.json: /chips/0/did: neither topology.json "
                 "nor objects.json gives the device's address" },
            Row{ chips( R"({ "did": 19 }, { "did": 19 })" ),
                 "emulation.json: /chips/1/did: the chip is already described" },
            Row{ chips( R"({ "did": 16 })" ),
                 "emulation.json: /chips/0: topology.json has muxes behind it, but a TMP75 is no "
                 "mux" },
            Row{ chips( R"({ "did": 19, "set": { "a/b~c": 1 } })" ),
                 "emulation.json: /chips/0/set/a~1b~0c: unknown quantity 'a/b~c'; this chip has "
                 "temperature, lowLimit, highLimit" },
            Row{ chips( R"({ "did": 19, "set": { "temperature": "hot" } })" ),
                 "emulation.json: /chips/0/set/temperature: must be a number" },
            Row{ chips( R"({ "did": 19, "unplugged": 1 })" ),
                 "emulation.json: /chips/0/unplugged: must be true or false" },
            Row{ chips( R"({ "did": 19, "contents": "x" })" ),
                 "emulation.json: /chips/0/contents: the chip has no memory to fill" },
            Row{ chips( R"({ "did": 19, "model": "EEPROM", "contents": ")" +
                        std::string( 257, 'x' ) + "\" }" ),
                 "emulation.json: /chips/0/contents: more than 256 bytes" },
            Row{
               chips( R"({ "did": 19, "faults": [ { "kind": "nak" }, { "kind": "gremlin" } ] })" ),
               "emulation.json: /chips/0/faults/1/kind: unknown fault 'gremlin'; there are nak, "
               "timeout, corrupt, short, stuck-mux" },
            Row{ chips( R"({ "did": 19, "faults": [ { "kind": "nak", "count": 0 } ] })" ),
                 "emulation.json: /chips/0/faults/0/count: must be at least 1" },
         } ) {
      EXPECT_EQ( problemOf( BoardFolder( topology, row.emulation ) ), row.problem );
   }
   EXPECT_THAT(
      problemOf( BoardFolder( topology, chips( R"({ "did": 17 })" ) ) ),
      StartsWith( "emulation.json: /chips/0: \"model\" is missing, and no model is called "
                  "like the driver, 'Warp'; there are " ) );
   EXPECT_THAT( problemOf( BoardFolder( topology, chips( R"({ "did": 17, "model": "Warp" })" ) ) ),
                StartsWith( "emulation.json: /chips/0/model: unknown model 'Warp'; there are " ) );
}

TEST( BoardLoaderTest, MissingAndMisplacedFilesAreNamed ) {
   EXPECT_THROW( Emulator::loadBoard( "/nonexistent" ), std::runtime_error );
   BoardFolder folder( "[]", kNoChips );
   EXPECT_EQ( problemOf( folder ), "none" );
   std::filesystem::remove( folder.path() + "/emulation.json" );
   EXPECT_EQ( problemOf( folder ), "emulation.json: No such file or directory" );
   std::filesystem::create_directory( folder.path() + "/emulation.json" );
   EXPECT_EQ( problemOf( folder ), "emulation.json: Is a directory" );
   EXPECT_EQ( problemOf( BoardFolder( "[]", kNoChips, "{ \"objects\": 1 }" ) ),
              "objects.json: /objects: must be an array" );
}

TEST( BoardLoaderTest, ObjectsFillWhatTheTopologyLeavesOpen ) {
   BoardFolder folder(
      R"([ { "type": "I2C", "simulated": true, "devices": [ { "did": 1 },
             { "did": 2, "driver": "TMP75", "address": { "address": 73 } } ] } ])",
      R"({ "chips": [ { "did": 1, "set": { "temperature": 1 } },
                      { "did": 2, "set": { "temperature": 2 } } ] })",
      R"({ "objects": [ { "kind": "smbus", "name": "s", "label": "smbus3", "address": 80 },
           { "kind": "temp_sensor", "device": { "did": 1, "driver": null } },
           { "kind": "temp_sensor", "device": { "did": 1, "driver": "TMP75", "address": { "address": 72 } } },
           { "kind": "temp_sensor", "device": { "did": 2, "driver": "Warp", "address": { "address": 1 } } },
           { "kind": "temp_sensor", "device": { "did": 3, "driver": "Warp" } } ] })" );
   auto board = folder.load();
   Smbus::TransactionRequest batch =
      batchOf( { readBytes( 0x48, 0, 1 ), readBytes( 0x49, 0, 1 ) } );
   for ( Smbus::Request& request : *batch.mutable_request() ) {
      request.set_mastertype( Smbus::MASTER_SIMULATED );
      request.set_address( request.address() | 0x7f << 7 );  // one bus, whatever its number
   }
   EXPECT_EQ( execute( *board, batch ), "01 02" );
}

TEST( BoardLoaderTest, EveryMediumHasItsMaster ) {
   constexpr const char* kDevice = R"("devices": [ { "did": 1, "address": { "address": 72 } } ])";
   const std::string bus = std::string( R"("busses": [ { "id": 3, )" ) + kDevice + " } ]";
   const std::string accelerator = R"("accelerators": [ { "id": 4, )" + bus + " } ]";
   struct Row {
      std::string type, members;
      Smbus::MasterType master;
      uint32_t pci;
   };
   for ( const Row& row : { Row{ "SCD", "\"pci\": 9, " + accelerator, Smbus::MASTER_SCD, 9 },
                            Row{ "Celestica", accelerator, Smbus::MASTER_CELESTICA, 0 },
                            Row{ "FbDomFpga", "\"pci\": 9, " + bus, Smbus::MASTER_FB_DOM_FPGA, 9 },
                            Row{ "I2C", kDevice, Smbus::MASTER_I2C, 0 },
                            Row{ "IOPort", kDevice, Smbus::MASTER_IO_PORT, 0 },
                            Row{ "PLM", kDevice, Smbus::MASTER_PLM, 0 },
                            Row{ "SccSpi", kDevice, Smbus::MASTER_SCC_SPI, 0 } } ) {
      BoardFolder folder( "[ { \"type\": \"" + row.type + "\", " + row.members + " } ]",
                          chips( R"({ "did": 1, "model": "TMP75" })" ) );
      Smbus::Request reading = readBytes( 0x48, 2, 2 );
      reading.set_mastertype( row.master );
      reading.set_pci( row.pci );
      reading.set_address( reading.address() | 3 << 7 | 4 << 14 );
      EXPECT_EQ( execute( *folder.load(), batchOf( { reading } ) ), "4b00" ) << row.type;
   }
}
