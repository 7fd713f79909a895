#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>

#include "BoardFiles/Board.h"
#include "BoardFiles/PolicyRule.h"
#include "Tests/support/TemporaryDirectory.h"

using namespace BoardFiles;
using testing::ElementsAre;
using testing::ElementsAreArray;

namespace {

using Tests::TemporaryDirectory;
using Tests::textOf;
using Documents = std::map< std::string, std::string >;

const std::filesystem::path kHere = LUMEN_SOURCE_DIR "/Tests/boardfiles";

// A mux (did 9) with a labelled and a nameless channel below an SCD, and devices of other media.
Documents soundDocuments() {
   Documents documents;
   for ( const char* name :
         { "topology.json", "objects.json", "emulation.json", "adapters.json", "policy.json" } ) {
      documents[ name ] = textOf( kHere / "sound" / name );
   }
   return documents;
}

// Writes the documents to a folder, reads them, and gives back what was found: mistakes, or else
// warnings. File names stand without the folder.
std::vector< std::string > findingsIn( const Documents& documents, Board& board ) {
   TemporaryDirectory directory;
   for ( const auto& [ name, text ] : documents ) {
      std::ofstream( directory.path() / name, std::ios::binary ) << text;
   }
   std::vector< Finding > findings;
   try {
      board = loadBoard( directory.path(), { Demand::Needed, Demand::IfPresent, true } );
      findings = board.warnings;
      if ( documents.contains( "policy.json" ) ) {
         loadPolicy( directory.path() / "policy.json", board.wiring );
      }
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

std::vector< Edit > editsIn( const std::string& table ) {
   std::vector< Edit > edits;
   std::istringstream lines( table );
   for ( std::string line; std::getline( lines, line ); ) {
      size_t colon = line.find( ": " );
      size_t arrow = line.find( " -> " );
      if ( line.starts_with( ' ' ) ) {
         edits.back().findings.push_back( edits.back().file + ": " +
                                          line.substr( line.find_first_not_of( ' ' ) ) );
      } else if ( !line.empty() && !line.starts_with( '#' ) ) {
         edits.push_back( { line.substr( 0, colon ) + ".json",
                            line.substr( colon + 2, arrow - colon - 2 ),
                            line.substr( arrow + 4 ) } );
      }
   }
   return edits;
}

TEST( BoardTest, FindsEachMistakeAndDoubtWhereItIs ) {
   auto edits = editsIn( textOf( kHere / "findings.txt" ) );
   ASSERT_GT( edits.size(), 40u );
   for ( const Edit& edit : edits ) {
      Documents documents = soundDocuments();
      std::string& text = documents[ edit.file ];
      size_t place = text.find( edit.from );
      ASSERT_NE( place, std::string::npos ) << edit.from;
      text.replace( place, edit.from.size(), edit.to );
      Board board;
      EXPECT_THAT( findingsIn( documents, board ), ElementsAreArray( edit.findings ) )
         << edit.from << " -> " << edit.to;
   }
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
      Documents documents = soundDocuments();
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
      documents[ "topology.json" ] = R"([ { "ham": "SimHam", "type": )" + medium + " } ]";
      Board board;
      EXPECT_THAT( findingsIn( documents, board ), ElementsAre() ) << medium;
   }
}

TEST( BoardTest, KnowsWhereEverythingHangsAndWhatItIs ) {
   Board board;
   EXPECT_THAT( findingsIn( soundDocuments(), board ), ElementsAre() );
   const Wiring& wiring = board.wiring;
   const Wiring::Device& sensor = wiring.devices.at( 1 );
   const Wiring::Bus& channel = wiring.busses.at( sensor.bus );
   EXPECT_EQ( channel.mux, 9u );
   EXPECT_EQ( channel.channel, 1u );
   EXPECT_EQ( channel.above, wiring.devices.at( 9 ).bus );
   EXPECT_EQ( wiring.adapters.at( channel.adapter ).master, Smbus::MASTER_SCD );
   EXPECT_EQ( wiring.devices.at( 6 ).address, 73u ) << "an object gives it";
   EXPECT_EQ( wiring.devices.at( 6 ).driver, "TMP75" );
   std::vector< std::string > names;
   for ( size_t bus = 0; bus < wiring.busses.size(); ++bus ) {
      names.push_back( wiring.nameOf( bus ) );
   }
   EXPECT_THAT( names,
                ElementsAre( "scd1", "scd1", "second", "scd bus 2", "FbDomFpga bus 6", "PLM" ) );
   ASSERT_EQ( board.objects.size(), 4u );
   EXPECT_EQ( board.topology, textOf( kHere / "sound/topology.json" ) );
   EXPECT_EQ( board.objects[ 0 ].kind, Kind::TempSensor );
   EXPECT_EQ( board.objects[ 0 ].device, R"({"driver":"TMP75","did":6,"address":{"address":73}})" );
   EXPECT_EQ( board.objects[ 0 ].alert, 70.5 );
   EXPECT_EQ( board.objects[ 0 ].critical, 80 );
   EXPECT_EQ( board.objects[ 1 ].device, "scd1" );
   EXPECT_EQ( board.objects[ 1 ].address, 72 );
   EXPECT_EQ( board.objects[ 3 ].range.min, 3703 );
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
      loadBoard( directory.path(), { Demand::IfPresent } );
      FAIL();
   } catch ( const BoardError& error ) {
      ASSERT_EQ( error.findings.size(), 2u );
      EXPECT_EQ( error.findings[ 0 ].problem, "is no file" );
      EXPECT_EQ( error.findings[ 1 ].problem, "No such file or directory" );
   }
   try {
      loadBoard( "/nonexistent", {} );
      FAIL();
   } catch ( const std::runtime_error& error ) {
      EXPECT_STREQ( error.what(), "/nonexistent: no such board folder" );
   }
}

}  // namespace
