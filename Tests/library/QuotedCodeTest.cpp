#include <gmock/gmock.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "Utils/Json.h"

// A code block of the documents whose first line names a file quotes the whole file:
//    ```cpp Tests/library/ExampleDriver.h

namespace {

using ::testing::IsSupersetOf;

constexpr const char* kFence = "```";

std::string contentsOf( const std::filesystem::path& path ) {
   std::ifstream file( path );
   EXPECT_TRUE( file ) << path;
   std::ostringstream text;
   text << file.rdbuf();
   return text.str();
}

struct Block {
   std::string document;
   std::string language;
   std::string file;  // empty when none is named
   std::string text;
};

std::vector< Block > blocksOf( const std::filesystem::path& document ) {
   std::vector< Block > blocks;
   bool inside = false;
   std::istringstream lines( contentsOf( document ) );
   for ( std::string line; std::getline( lines, line ); ) {
      if ( line.starts_with( kFence ) ) {
         inside = !inside;
         if ( inside ) {
            Block block{ document.filename(), "", "", "" };
            std::istringstream( line.substr( strlen( kFence ) ) ) >> block.language >> block.file;
            blocks.push_back( block );
         }
      } else if ( inside ) {
         blocks.back().text += line + '\n';
      }
   }
   EXPECT_FALSE( inside ) << document << " ends in a code block";
   return blocks;
}

std::vector< Block > allBlocks() {
   std::vector< Block > all;
   for ( const auto& entry : std::filesystem::directory_iterator( LUMEN_SOURCE_DIR "/docs" ) ) {
      if ( entry.path().extension() == ".md" ) {
         for ( const Block& block : blocksOf( entry.path() ) ) {
            all.push_back( block );
         }
      }
   }
   return all;
}

TEST( QuotedCode, EqualsTheFilesThatItNames ) {
   std::vector< std::string > quoted;
   for ( const Block& block : allBlocks() ) {
      if ( !block.file.empty() ) {
         EXPECT_EQ( block.text, contentsOf( LUMEN_SOURCE_DIR "/" + block.file ) )
            << block.document << " quotes " << block.file;
         quoted.push_back( block.file );
      }
   }
   EXPECT_THAT(
      quoted,
      IsSupersetOf( { "Tests/library/ExampleDriver.h", "Tests/library/ExampleDriver.cpp",
                      "Tests/library/ExampleDriverTest.cpp", "Tests/service/ExampleModel.cpp" } ) );
}

TEST( QuotedCode, IsValidWhereItIsJson ) {
   for ( const Block& block : allBlocks() ) {
      if ( block.language == "json" ) {
         Utils::Json::Document json;
         auto error = Utils::Json::parse( block.text.c_str(), json );
         EXPECT_FALSE( error ) << block.document << ": " << error->message << "\n" << block.text;
      }
   }
}

}  // namespace
