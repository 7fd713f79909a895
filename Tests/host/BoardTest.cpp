#include <gmock/gmock.h>

#include <fstream>
#include <map>

#include "BoardFiles/Board.h"
#include "BoardFiles/Finding.h"
#include "Tests/host/BoardDocuments.h"
#include "Tests/support/TemporaryDirectory.h"

using testing::ElementsAre;
using testing::ElementsAreArray;

namespace Host {

using namespace BoardFiles;
namespace {

struct Mistake {
   const char* name;
   const char* file;
   std::string text;
   std::vector< std::string > findings;
};

class MistakeTest : public testing::TestWithParam< Mistake > {};

TEST_P( MistakeTest, IsFoundWithItsPlace ) {
   Documents documents = kSound;
   documents[ GetParam().file ] = GetParam().text;
   std::vector< std::string > expected;
   for ( const std::string& finding : GetParam().findings ) {
      expected.push_back( GetParam().file + finding );
   }
   EXPECT_THAT( findings( documents ), ElementsAreArray( expected ) );
}

std::string name( const testing::TestParamInfo< Mistake >& row ) {
   return row.param.name;
}

// The topology of one device on one bus, for mistakes in the device.
std::string withDevice( const std::string& members ) {
   return R"([ { "type": "PLM", "ham": "H", "id": 0, "devices": [ { "did": 1, )" + members +
          " } ] } ]";
}
const std::string kDevice = ": /0/devices/0";

INSTANTIATE_TEST_SUITE_P(
   Documents,
   MistakeTest,
   testing::Values(
      Mistake{ "Empty", "topology.json", "", { ":1:1: The document is empty." } },
      Mistake{ "Comma",
               "objects.json",
               "{\n  \"objects\": [ 1 2 ]\n}",
               { ":2:18: Missing a comma or ']' after an array element." } },
      Mistake{ "ZeroByte",
               "objects.json",
               std::string( "{ \"objects\": [] }\n\0,", 19 ),
               { ":2:1: a zero byte" } },
      Mistake{ "Deep",
               "topology.json",
               std::string( 300, '[' ),
               { ":1:258: nested deeper than 256 levels" } },
      Mistake{ "NoUtf8", "objects.json", "{\"objects\":\n [\"\xe9\"]}", { ":2:4: no UTF-8" } },
      Mistake{ "ByteOrderMark",
               "objects.json",
               "\uFEFF{}",
               { ":1:1: a byte order mark, which JSON does not have" } } ),
   name );

INSTANTIATE_TEST_SUITE_P(
   Topology,
   MistakeTest,
   testing::Values(
      Mistake{ "Root", "topology.json", "{}", { ": must be an array, not an object" } },
      Mistake{ "Media",
               "topology.json",
               R"([ 7, { "ham": 1 }, { "type": "Fpga", "ham": "" }, { "type": "SCD", "ham": "H" },
                    { "type": "FbDomFpga", "ham": "H", "pci": 4294967296 } ])",
               { ": /0: must be an object, not an integer", ": /1: member \"type\" is missing",
                 ": /1/ham: must be a string, not an integer",
                 ": /2/type: must be \"SCD\", \"I2C\", \"IOPort\", \"Celestica\", \"PLM\", "
                 "\"SccSpi\", \"LinuxFs\" or \"FbDomFpga\", not \"Fpga\"",
                 ": /2/ham: must not be empty", ": /3: member \"pci\" is missing",
                 ": /4/pci: must be at most 4294967295" } },
      Mistake{
         "DriverArgs",
         "topology.json",
         withDevice( R"("driver": null, "address": { "address": 1 }, "driverArgs":
                              { "a/b": {}, "c~": 5000000000, "d": 4294967295, "e": 1e20 })" ),
         { kDevice + "/driverArgs/a~1b: must be a string, a number, a boolean or null, not an "
                     "object" } },
      Mistake{
         "WideArgument",
         "topology.json",
         withDevice( R"("driver": null, "address": { "address": 1 }, "driverArgs":
                              { "c~": 5000000000, "d": 4294967295, "e": 1e20 })" ),
         { kDevice + "/driverArgs/c~0: must fit 32 bits: drivers get an empty text instead" } },
      Mistake{ "MultiDevice",
               "topology.json",
               R"([ { "type": "PLM", "ham": "H", "id": 0, "devices": [
                      { "did": 1, "driver": "X", "isMultiDevice": true },
                      { "did": 2, "driver": "X", "isMultiDevice": true,
                        "multiDeviceArgs": { "fan": {}, "led": "{}" } } ] } ])",
               { kDevice + ": member \"multiDeviceArgs\" is missing",
                 ": /0/devices/1/multiDeviceArgs/fan: must be a string, not an object" } } ),
   name );

INSTANTIATE_TEST_SUITE_P(
   TopologyTree,
   MistakeTest,
   testing::Values(
      Mistake{
         "Twice",
         "topology.json",
         R"([ { "type": "SCD", "ham": "H", "pci": 0, "label": "a", "accelerators": [
                      { "id": 1, "busses": [ { "id": 3, "label": "b" }, { "id": 3 } ] },
                      { "id": 1, "busses": [ { "id": 3 } ] } ] },
                    { "type": "FbDomFpga", "ham": "H", "pci": 0, "busses": [
                      { "id": 0, "devices": [ { "did": 1, "components": [ { "uid": 1 } ] } ] },
                      { "id": 0, "devices": [ { "did": 1, "label": "a",
                        "driver": "X", "address": { "address": 1 } } ] } ] },
                    { "type": "IOPort", "ham": "H", "id": 0, "muxes": [ { "did": 1, "busses": [
                      { "id": 2 }, { "id": 2, "devices": [
                        { "did": 4, "components": [ { "uid": 1 } ] } ] } ] } ] } ])",
         { ": /0/accelerators/0/busses/1/id: 3 is already the id of "
           "/0/accelerators/0/busses/0",
           ": /0/accelerators/1/id: 1 is already the id of /0/accelerators/0",
           ": /0/accelerators/1/busses/0: warning: requests cannot tell it from "
           "/0/accelerators/0/busses/0",
           ": /1/busses/1/id: 0 is already the id of /1/busses/0",
           ": /1/busses/1/devices/0/did: 1 is already the did of /1/busses/0/devices/0",
           ": /1/busses/1/devices/0/label: \"a\" is already the label of /0",
           ": /2/muxes/0/busses/1/id: 2 is already the id of /2/muxes/0/busses/0",
           ": /2/muxes/0/busses/1/devices/0/components/0/uid: 1 is already the uid of "
           "/1/busses/0/devices/0/components/0",
           ": /2/muxes/0/did: mux chip 1 is not declared inline: /1/busses/0/devices/0 has no "
           "\"driver\"" } },
      Mistake{ "MuxRing",
               "topology.json",
               R"([ { "type": "PLM", "ham": "H", "id": 0, "muxes": [
                      { "did": 1, "busses": [ { "id": 1, "devices": [
                        { "did": 2, "driver": "PCA9548", "address": { "address": 113 } } ] } ] },
                      { "did": 2, "busses": [ { "id": 1, "devices": [
                        { "did": 1, "driver": "PCA9548", "address": { "address": 112 } } ] } ] },
                      { "did": 3 } ] } ])",
               { ": /0/muxes/0/did: mux chip 1 is reached through itself",
                 ": /0/muxes/1/did: mux chip 2 is reached through itself",
                 ": /0/muxes/2/did: mux chip 3 is no device of the topology" } } ),
   name );

INSTANTIATE_TEST_SUITE_P(
   Objects,
   MistakeTest,
   testing::Values(
      Mistake{
         "Members",
         "objects.json",
         R"({ "objects": [ { "kind": "temp", "name": "" }, { "name": "a" },
                      { "kind": "temp_sensor", "name": "b", "alert": "70", "device": { "did": 1 } },
                      { "kind": "led", "name": "c", "alert": 7 } ], "more": 1 })",
         { ": /objects/0/kind: must be \"temp_sensor\", \"led\", \"fan\", \"slot\", \"xcvr\", "
           "\"psu\", \"gpio\", \"poe_port\", \"smbus\" or \"system\", not \"temp\"",
           ": /objects/0/name: must not be empty", ": /objects/1: member \"kind\" is missing",
           ": /objects/2: member \"critical\" is missing",
           ": /objects/2/alert: must be a number, not a string",
           ": /objects/2/device: member \"driver\" is missing",
           ": /objects/2/device: member \"address\" is missing",
           ": /objects/3: member \"device\" is missing", ": /objects/3/alert: unknown member",
           ": /more: unknown member" } },
      Mistake{ "Transceivers",
               "objects.json",
               R"({ "objects": [ { "kind": "xcvr", "name": "a", "device": { "driver": "X", "did": 1,
                      "address": { "address": 1 } } },
                    { "kind": "xcvr", "name": "b", "device": { "driver": "X", "did": 1,
                      "address": { "address": 1 }, "driverArgs": { "type": "SFP" } } } ] })",
               { ": /objects/0/device: member \"driverArgs\" is missing",
                 ": /objects/1/device/driverArgs: member \"id\" is missing",
                 ": /objects/1/device/driverArgs/type: must be \"sfp\", \"sfp+\", \"qsfp\", "
                 "\"qsfp+\", \"qsfpDd\" or \"qsfpCmis\", not \"SFP\"" } },
      Mistake{ "References",
               "objects.json",
               R"({ "objects": [
                    { "kind": "fan", "name": "a", "device": { "driver": "X", "did": 3,
                      "address": { "address": 1 } } },
                    { "kind": "fan", "name": "a", "device": { "driver": "X", "did": 3,
                      "uid": 6, "address": { "address": 1 } } },
                    { "kind": "fan", "name": "b", "device": { "driver": "X", "did": 3,
                      "uid": 5, "address": { "address": 1 } } },
                    { "kind": "fan", "name": "c", "device": { "driver": "X", "did": 3,
                      "provideHam": 0, "address": { "address": 1 } } } ] })",
               { ": /objects/0/device/did: device 3 is not in the topology",
                 ": /objects/1/name: \"a\" is already the name of /objects/0",
                 ": /objects/1/device/uid: component 6 is not in the topology" } },
      Mistake{
         "Limits",
         "objects.json",
         R"({ "objects": [ { "kind": "temp_sensor", "name": "t", "alert": 80.5, "critical": 80,
                      "device": { "driver": "X", "did": 1, "address": { "address": 72 } } } ] })",
         { ": /objects/0/alert: must not be above \"critical\"" } },
      Mistake{ "Endpoints",
               "objects.json",
               R"({ "objects": [ { "kind": "smbus", "name": "a", "label": "i2c", "address": 72 },
                    { "kind": "smbus", "name": "b", "label": "i2c", "address": 73 },
                    { "kind": "smbus", "name": "c", "label": "i2c", "address": 74 },
                    { "kind": "smbus", "name": "d", "label": "i2c" } ] })",
               { ": /objects/1/label: device \"i2c<0x49>\" is not declared inline: "
                 "/0/muxes/0/busses/0/devices/1 has no \"driver\"",
                 ": /objects/2/label: no device of the topology has the label \"i2c<0x4a>\"",
                 ": /objects/3: needs either \"device\", or \"label\" and \"address\"" } } ),
   name );

INSTANTIATE_TEST_SUITE_P(
   EmulatedChips,
   MistakeTest,
   testing::Values(
      Mistake{ "Chips",
               "emulation.json",
               R"({ "chips": [ { "did": 1 }, { "did": 1 }, { "did": 2 }, { "did": 3 } ] })",
               { ": /chips/1/did: 1 is already the did of /chips/0",
                 ": /chips/2/did: nobody gives device 2 an address: "
                 "/0/muxes/0/busses/0/devices/1 has no \"driver\"",
                 ": /chips/3/did: device 3 is not in the topology" } },
      Mistake{
         "ChipMembers",
         "emulation.json",
         R"({ "chips": [ { "model": "", "set": { "t": "warm" }, "unplugged": 1,
                      "faults": [ {}, { "kind": "nack", "count": 0, "skip": -1 } ],
                      "contents": [], "address": 1 } ] })",
         { ": /chips/0: member \"did\" is missing", ": /chips/0/model: must not be empty",
           ": /chips/0/set/t: must be a number, not a string",
           ": /chips/0/unplugged: must be a boolean, not an integer",
           ": /chips/0/faults/0: member \"kind\" is missing",
           ": /chips/0/faults/1/kind: must be \"nak\", \"timeout\", \"corrupt\", \"short\" or "
           "\"stuck-mux\", not \"nack\"",
           ": /chips/0/faults/1/count: must be at least 1",
           ": /chips/0/faults/1/skip: must be at least 0",
           ": /chips/0/contents: must be a string, not an array",
           ": /chips/0/address: unknown member" } } ),
   name );

TEST( BoardTest, ListsTheFindingsOfAllDocuments ) {
   EXPECT_THAT( findings( { { "topology.json", "[" }, { "objects.json", "{}" } } ),
                ElementsAre( "topology.json:1:2: Invalid value.",
                             "objects.json: member \"objects\" is missing",
                             "emulation.json: No such file or directory" ) );
}

TEST( BoardTest, MissesNoFolder ) {
   try {
      loadBoard( "/nonexistent", Emulation::Unused );
      FAIL();
   } catch ( const StartError& error ) {
      EXPECT_STREQ( error.what(), "/nonexistent: no such board folder" );
   }
}

TEST( BoardTest, ReadsFilesOnly ) {
   Tests::TemporaryDirectory directory;
   std::filesystem::create_directory( directory.path() / "topology.json" );
   std::filesystem::create_symlink( "nowhere", directory.path() / "emulation.json" );
   std::ofstream( directory.path() / "objects.json" ) << kSound.at( "objects.json" );
   try {
      loadBoard( directory.path(), Emulation::IfPresent );
      FAIL();
   } catch ( const BoardError& error ) {
      ASSERT_EQ( error.findings.size(), 2u );
      EXPECT_EQ( error.findings[ 0 ].problem, "is no file" );
      EXPECT_EQ( error.findings[ 1 ].problem, "No such file or directory" );
   }
}

TEST( BoardTest, ReadsObjects ) {
   Tests::TemporaryDirectory directory;
   std::ofstream( directory.path() / "topology.json" ) << kSound.at( "topology.json" );
   std::ofstream( directory.path() / "objects.json" ) << R"({ "objects": [
      { "kind": "temp_sensor", "name": "t", "alert": 70.5, "critical": 80,
        "device": { "driver": "X", "did": 1, "address": { "address": 1 } } },
      { "kind": "smbus", "name": "s", "label": "i2c", "address": 72 } ] })";
   Board board = loadBoard( directory.path(), Emulation::Unused );
   ASSERT_EQ( board.objects.size(), 2u );
   EXPECT_EQ( board.topology, kSound.at( "topology.json" ) );
   EXPECT_EQ( board.objects[ 0 ].kind, Kind::TempSensor );
   EXPECT_EQ( board.objects[ 0 ].device, R"({"driver":"X","did":1,"address":{"address":1}})" );
   EXPECT_EQ( board.objects[ 0 ].alert, 70.5 );
   EXPECT_EQ( board.objects[ 0 ].critical, 80 );
   EXPECT_EQ( board.objects[ 1 ].device, "i2c" );
   EXPECT_EQ( board.objects[ 1 ].address, 72 );
}

}  // namespace
}  // namespace Host
