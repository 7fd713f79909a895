#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>

#include "BoardFiles/Board.h"
#include "Tests/support/TemporaryDirectory.h"

using namespace BoardFiles;
using testing::ElementsAre;
using testing::ElementsAreArray;

namespace {

using Tests::TemporaryDirectory;
using Documents = std::map< std::string, std::string >;

// A mux (did 9) with a labelled and a nameless channel below an SCD, and devices of other media.
const Documents kSound = {
   { "topology.json", R"([
   { "type": "SCD", "ham": "H", "pci": 1, "label": "scd", "accelerators": [ { "id": 0, "busses": [
      { "id": 1, "label": "scd1", "devices": [
          { "did": 9, "driver": "PCA9548", "address": { "address": 112 } },
          { "did": 3, "label": "scd1<0x49>" } ],
        "muxes": [ { "did": 9, "busses": [
          { "id": 1, "devices": [ { "did": 1, "driver": "TMP75", "address": { "address": 72 },
            "label": "scd1<0x48>", "driverArgs": { "a/b": 1 }, "components": [ { "uid": 5 } ] } ] },
          { "id": 2, "label": "second", "devices": [] } ] } ] },
      { "id": 2 } ] }, { "id": 7 } ] },
   { "type": "FbDomFpga", "ham": "H", "pci": 1, "busses": [ { "id": 6, "devices": [ { "did": 6 } ] } ] },
   { "type": "PLM", "ham": "H", "id": 0, "devices": [ { "did": 4, "driver": "X",
       "isMultiDevice": true, "multiDeviceArgs": { "led": "{}" } } ] },
   { "type": "LinuxFs", "ham": "H", "devices": [ { "did": 8, "driver": "F", "address": { "address": 1 } } ] } ])" },
   { "objects.json", R"({ "objects": [
      { "kind": "temp_sensor", "name": "t", "alert": 70.5, "critical": 80,
        "device": { "driver": "X", "did": 6, "address": { "address": 73 } } },
      { "kind": "smbus", "name": "s", "label": "scd1", "address": 72 },
      { "kind": "xcvr", "name": "x", "device": { "driver": "Y", "did": 1, "uid": 5,
        "address": { "address": 72 }, "driverArgs": { "id": 1, "type": "sfp" } } } ] })" },
   { "emulation.json", R"({ "chips": [ { "did": 6, "model": "TMP75", "unplugged": false,
      "set": { "temperature": 1 }, "contents": "", "faults": [ { "kind": "stuck-mux", "count": 2 } ] } ] })" },
};

// Writes the documents to a folder, reads them, and gives back what was found: mistakes, or else
// warnings. File names stand without the folder.
std::vector< std::string > findingsIn( const Documents& documents, Board& board ) {
   TemporaryDirectory directory;
   for ( const auto& [ name, text ] : documents ) {
      std::ofstream( directory.path() / name, std::ios::binary ) << text;
   }
   std::vector< Finding > findings;
   try {
      board = loadBoard( directory.path(), Emulation::Needed );
      findings = board.warnings;
   } catch ( const BoardError& error ) {
      findings = error.findings;
   }
   std::vector< std::string > texts;
   for ( const Finding& finding : findings ) {
      texts.push_back( finding.text().substr( directory.path().string().size() + 1 ) );
   }
   return texts;
}

// A sound document with one text in it replaced, and what is found then.
struct Edit {
   std::string file;
   std::string from;
   std::string to;
   std::vector< std::string > findings = {};
};

// "FILE: FROM -> TO", and below it a line with a leading blank for each finding.
std::vector< Edit > editsIn( const std::string& table ) {
   std::vector< Edit > edits;
   std::istringstream lines( table );
   for ( std::string line; std::getline( lines, line ); ) {
      size_t colon = line.find( ": " );
      size_t arrow = line.find( " -> " );
      if ( line.starts_with( ' ' ) ) {
         edits.back().findings.push_back( line.substr( line.find_first_not_of( ' ' ) ) );
      } else if ( !line.empty() ) {
         edits.push_back( { line.substr( 0, colon ) + ".json",
                            line.substr( colon + 2, arrow - colon - 2 ),
                            line.substr( arrow + 4 ) } );
      }
   }
   return edits;
}

void expectFindings( const std::string& table ) {
   for ( const Edit& edit : editsIn( table ) ) {
      Documents documents = kSound;
      std::string& text = documents[ edit.file ];
      size_t place = text.find( edit.from );
      ASSERT_NE( place, std::string::npos ) << edit.from;
      text.replace( place, edit.from.size(), edit.to );
      std::vector< std::string > expected;
      for ( const std::string& finding : edit.findings ) {
         expected.push_back( edit.file + ": " + finding );
      }
      Board board;
      EXPECT_THAT( findingsIn( documents, board ), ElementsAreArray( expected ) )
         << edit.from << " -> " << edit.to;
   }
}

TEST( BoardTest, TellsWhatASchemaForbids ) {
   expectFindings( R"(
topology: "SCD" -> "Fpga"
   /0/type: must be "SCD", "I2C", "IOPort", "Celestica", "PLM", "SccSpi", "LinuxFs" or "FbDomFpga", not "Fpga"
topology: "ham": "H", "pci": 1 -> "ham": ""
   /0/ham: must not be empty
   /0: member "pci" is missing
topology: "pci": 1 -> "pci": 4294967296
   /0/pci: must be at most 4294967295
topology: "accelerators": [ -> "accelerators": [ 7,
   /0/accelerators/0: must be an object, not an integer
topology: "a/b": 1 -> "a/b": {}
   /0/accelerators/0/busses/0/muxes/0/busses/0/devices/0/driverArgs/a~1b: must be a string, a number, a boolean or null, not an object
topology: "multiDeviceArgs": { "led": "{}" } -> "x": 1
   /2/devices/0: member "multiDeviceArgs" is missing
topology: "led": "{}" -> "led": {}
   /2/devices/0/multiDeviceArgs/led: must be a string, not an object
objects: "kind": "temp_sensor" -> "kind": "temp"
   /objects/0/kind: must be "temp_sensor", "led", "fan", "slot", "xcvr", "psu", "gpio", "poe_port", "smbus" or "system", not "temp"
objects: 70.5, "critical": 80 -> "70"
   /objects/0: member "critical" is missing
   /objects/0/alert: must be a number, not a string
objects: "temp_sensor" -> "led"
   /objects/0/alert: unknown member
   /objects/0/critical: unknown member
objects: "driver": "X", "did": 6 -> "did": 6
   /objects/0/device: member "driver" is missing
objects: { "id": 1, "type": "sfp" } -> { "type": "SFP" }
   /objects/2/device/driverArgs: member "id" is missing
   /objects/2/device/driverArgs/type: must be "sfp", "sfp+", "qsfp", "qsfp+", "qsfpDd" or "qsfpCmis", not "SFP"
emulation: "unplugged": false -> "unplugged": 1, "address": 1
   /chips/0/unplugged: must be a boolean, not an integer
   /chips/0/address: unknown member
emulation: "kind": "stuck-mux", "count": 2 -> "kind": "nack", "count": 0, "skip": -1
   /chips/0/faults/0/kind: must be "nak", "timeout", "corrupt", "short" or "stuck-mux", not "nack"
   /chips/0/faults/0/count: must be at least 1
   /chips/0/faults/0/skip: must be at least 0
)" );
}

TEST( BoardTest, TellsWhatIsThereTwice ) {
   expectFindings( R"(
topology: "id": 7 -> "id": 0
   /0/accelerators/1/id: 0 is already the id of /0/accelerators/0
topology: { "id": 2 } -> { "id": 1 }
   /0/accelerators/0/busses/1/id: 1 is already the id of /0/accelerators/0/busses/0
topology: { "id": 6, -> { "id": 6 }, { "id": 6,
   /1/busses/1/id: 6 is already the id of /1/busses/0
topology: { "id": 2, "label" -> { "id": 1, "label"
   /0/accelerators/0/busses/0/muxes/0/busses/1/id: 1 is already the id of /0/accelerators/0/busses/0/muxes/0/busses/0
topology: "did": 3 -> "did": 9
   /0/accelerators/0/busses/0/devices/1/did: 9 is already the did of /0/accelerators/0/busses/0/devices/0
topology: "did": 6 -> "did": 6, "components": [ { "uid": 5 } ]
   /1/busses/0/devices/0/components/0/uid: 5 is already the uid of /0/accelerators/0/busses/0/muxes/0/busses/0/devices/0/components/0
topology: "second" -> "scd"
   /0/accelerators/0/busses/0/muxes/0/busses/1/label: "scd" is already the label of /0
objects: "name": "s" -> "name": "t"
   /objects/1/name: "t" is already the name of /objects/0
emulation: { "did": 6, -> { "did": 6 }, { "did": 6,
   /chips/1/did: 6 is already the did of /chips/0
)" );
}

TEST( BoardTest, TellsWhatDoesNotFitTogether ) {
   expectFindings( R"(
topology: { "id": 2 } -> { "id": 128 }
   /0/accelerators/0/busses/1/id: must be 0 to 127: the number of a bus travels in 7 bits
topology: { "id": 2, "label" -> { "id": 256 }, { "id": 0, "label"
   /0/accelerators/0/busses/0/muxes/0/busses/1/id: must be 1 to 255: it is the byte that opens the channel
   /0/accelerators/0/busses/0/muxes/0/busses/2/id: must be 1 to 255: it is the byte that opens the channel
topology: "muxes": [ { "did": 9 -> "muxes": [ { "did": 99
   /0/accelerators/0/busses/0/muxes/0/did: mux chip 99 is no device of the topology
topology: "muxes": [ { "did": 9 -> "muxes": [ { "did": 3
   /0/accelerators/0/busses/0/muxes/0/did: mux chip 3 is not declared inline: /0/accelerators/0/busses/0/devices/1 has no "driver"
topology: "muxes": [ { "did": 9 -> "muxes": [ { "did": 1
   /0/accelerators/0/busses/0/muxes/0/did: mux chip 1 is reached through itself
topology: "type": "PLM", -> "type": "PLM", "muxes": [ { "did": 10, "busses": [ { "id": 1, "devices": [ { "did": 11, "driver": "X", "address": { "address": 113 } } ] } ] }, { "did": 11, "busses": [ { "id": 1, "devices": [ { "did": 10, "driver": "X", "address": { "address": 112 } } ] } ] } ],
   /2/muxes/0/did: mux chip 10 is reached through itself
   /2/muxes/1/did: mux chip 11 is reached through itself
topology: "a/b": 1 -> "c~": 5000000000, "d": 4294967295, "e": 1e20
   /0/accelerators/0/busses/0/muxes/0/busses/0/devices/0/driverArgs/c~0: must fit 32 bits: drivers get an empty text instead
objects: "alert": 70.5 -> "alert": 80.5
   /objects/0/alert: must not be above "critical"
objects: "did": 1, "uid": 5 -> "did": 66
   /objects/2/device/did: device 66 is not in the topology
objects: "did": 1, "uid": 5 -> "did": 66, "uid": 6
   /objects/2/device/uid: component 6 is not in the topology
objects: "did": 1, "uid": 5 -> "did": 66, "provideHam": 0
objects: "label": "scd1", "address": 72 -> "label": "scd1"
   /objects/1: needs either "device", or "label" and "address"
objects: "label": "scd1", "address": 72 -> "label": "scd1", "address": 73
   /objects/1/label: device "scd1<0x49>" is not declared inline: /0/accelerators/0/busses/0/devices/1 has no "driver"
objects: "label": "scd1", "address": 72 -> "label": "scd1", "address": 74
   /objects/1/label: no device of the topology has the label "scd1<0x4a>"
emulation: "did": 6 -> "did": 66
   /chips/0/did: device 66 is not in the topology
emulation: "did": 6 -> "did": 3
   /chips/0/did: nobody gives device 3 an address: /0/accelerators/0/busses/0/devices/1 has no "driver"
emulation: "did": 6 -> "did": 4
   /chips/0/did: nobody gives device 4 an address: /2/devices/0 has a "driver" that uses none
emulation: "did": 6 -> "did": 8
   /chips/0/did: device 8 is on no bus: /3/devices/0
)" );
}

// A chip behind a mux has a twin above it; one in another channel is none.
TEST( BoardTest, WarnsOfChipsThatCannotBeToldApart ) {
   expectFindings( R"(
topology: "PLM" -> "PLM", "ham": "H", "id": 0 }, { "type": "PLM"
   /3: warning: requests cannot tell it from /2
topology: { "id": 7 } -> { "id": 7 } ] }, { "type": "SCD", "ham": "H", "pci": 1, "accelerators": [ { "id": 0, "busses": [ { "id": 2 } ] }
   /1/accelerators/0/busses/0: warning: requests cannot tell it from /0/accelerators/0/busses/1
topology: "did": 3, -> "did": 3, "driver": "X", "address": { "address": 72 },
   /0/accelerators/0/busses/0/muxes/0/busses/0/devices/0: warning: device 3 answers to address 0x48 as well: /0/accelerators/0/busses/0/devices/1
topology: "second", "devices": [ -> "second", "devices": [ { "did": 50, "driver": "X", "address": { "address": 72 } }
topology: "did": 3, -> "did": 3, "driver": "X", "address": { "address": 112 },
   /0/accelerators/0/busses/0/devices/1: warning: device 9 answers to address 0x70 as well: /0/accelerators/0/busses/0/devices/0
objects: "did": 1, "uid": 5 -> "did": 1, "uid": 5, "address": { "address": 74 }, "x": 0
   /objects/2/device: warning: device 1 is at address 0x4a here, but at 0x48 in /0/accelerators/0/busses/0/muxes/0/busses/0/devices/0
)" );
}

TEST( BoardTest, TellsWhereTextIsNoJson ) {
   const std::pair< std::string, const char* > rows[] = {
      { "", ":1:1: The document is empty." },
      { "{\n  \"objects\": [ 1 2 ]\n}", ":2:18: Missing a comma or ']' after an array element." },
      { std::string( "{ \"objects\": [] }\n\0,", 19 ), ":2:1: a zero byte" },
      { std::string( 300, '[' ), ":1:258: nested deeper than 256 levels" },
      { "{\"objects\":\n [\"\xe9\"]}", ":2:4: no UTF-8" },
      { "\uFEFF{}", ":1:1: a byte order mark, which JSON does not have" },
      { "[]", ": must be an object, not an array" },
   };
   for ( const auto& [ text, finding ] : rows ) {
      Documents documents = kSound;
      documents[ "objects.json" ] = text;
      Board board;
      EXPECT_THAT( findingsIn( documents, board ),
                   ElementsAre( "objects.json" + std::string( finding ) ) );
   }
}

// Also members of a wrong type: nobody reads them.
TEST( BoardTest, IgnoresWhatAMediumOfTheTypeDoesNotHave ) {
   std::vector< std::string > media = {
      R"("SCD", "pci": 1, "busses": 5, "devices": [ 1 ], "muxes": {})",
      R"("Celestica", "busses": [ 5 ], "devices": null)",
      R"("FbDomFpga", "pci": 1, "accelerators": 1, "devices": 1)",
      R"("LinuxFs", "muxes": [ {} ], "busses": [ {} ])",
      R"("IOPort", "id": 0, "simulated": 7, "busses": [ {} ])" };
   Documents documents = { { "objects.json", R"({ "objects": [] })" },
                           { "emulation.json", R"({ "chips": [] })" } };
   for ( const Media::Medium& medium : Media::kAll ) {
      media.push_back( '"' + std::string( medium.type ) + R"(", "id": 0, "pci": 1)" );
   }
   for ( const std::string& medium : media ) {
      documents[ "topology.json" ] = R"([ { "ham": "H", "type": )" + medium + " } ]";
      Board board;
      EXPECT_THAT( findingsIn( documents, board ), ElementsAre() ) << medium;
   }
}

TEST( BoardTest, KnowsWhereEverythingHangsAndWhatItIs ) {
   Board board;
   EXPECT_THAT( findingsIn( kSound, board ), ElementsAre() );
   const Wiring& wiring = board.wiring;
   const Wiring::Device& sensor = wiring.devices.at( 1 );
   const Wiring::Bus& channel = wiring.busses.at( sensor.bus );
   EXPECT_EQ( channel.mux, 9u );
   EXPECT_EQ( channel.channel, 1u );
   EXPECT_EQ( channel.above, wiring.devices.at( 9 ).bus );
   EXPECT_EQ( wiring.adapters.at( channel.adapter ).master, Smbus::MASTER_SCD );
   EXPECT_EQ( wiring.devices.at( 6 ).address, 73u ) << "an object gives it";
   EXPECT_EQ( wiring.devices.at( 6 ).driver, "X" );
   std::vector< std::string > names;
   for ( size_t bus = 0; bus < wiring.busses.size(); ++bus ) {
      names.push_back( wiring.nameOf( bus ) );
   }
   EXPECT_THAT( names,
                ElementsAre( "scd1", "scd1", "second", "scd bus 2", "FbDomFpga bus 6", "PLM" ) );
   ASSERT_EQ( board.objects.size(), 3u );
   EXPECT_EQ( board.topology, kSound.at( "topology.json" ) );
   EXPECT_EQ( board.objects[ 0 ].kind, Kind::TempSensor );
   EXPECT_EQ( board.objects[ 0 ].device, R"({"driver":"X","did":6,"address":{"address":73}})" );
   EXPECT_EQ( board.objects[ 0 ].alert, 70.5 );
   EXPECT_EQ( board.objects[ 0 ].critical, 80 );
   EXPECT_EQ( board.objects[ 1 ].device, "scd1" );
   EXPECT_EQ( board.objects[ 1 ].address, 72 );
}

TEST( BoardTest, ReadsFilesOnlyAndListsWhatIsWrongWithAll ) {
   Documents documents = { { "topology.json", "[" }, { "objects.json", "{}" } };
   Board board;
   EXPECT_THAT( findingsIn( documents, board ),
                ElementsAre( "topology.json:1:2: Invalid value.",
                             "objects.json: member \"objects\" is missing",
                             "emulation.json: No such file or directory" ) );
   TemporaryDirectory directory;
   std::filesystem::create_directory( directory.path() / "topology.json" );
   std::filesystem::create_symlink( "nowhere", directory.path() / "emulation.json" );
   std::ofstream( directory.path() / "objects.json" ) << R"({ "objects": [] })";
   try {
      loadBoard( directory.path(), Emulation::IfPresent );
      FAIL();
   } catch ( const BoardError& error ) {
      ASSERT_EQ( error.findings.size(), 2u );
      EXPECT_EQ( error.findings[ 0 ].problem, "is no file" );
      EXPECT_EQ( error.findings[ 1 ].problem, "No such file or directory" );
   }
   try {
      loadBoard( "/nonexistent", Emulation::Unused );
      FAIL();
   } catch ( const std::runtime_error& error ) {
      EXPECT_STREQ( error.what(), "/nonexistent: no such board folder" );
   }
}

}  // namespace
