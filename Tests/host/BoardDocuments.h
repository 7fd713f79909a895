#pragma once

#include <fstream>
#include <map>
#include <string>
#include <vector>

#include "BoardFiles/Board.h"
#include "BoardFiles/Finding.h"
#include "Tests/support/TemporaryDirectory.h"

namespace Host {

using namespace BoardFiles;

using Documents = std::map< std::string, std::string >;

// A sensor behind a mux; "i2c<0x48>" is its label.
inline const Documents kSound = {
   { "topology.json", R"([ { "type": "I2C", "ham": "LumenSmbus", "id": 0,
        "devices": [ { "did": 9, "driver": "PCA9548", "address": { "address": 112 } } ],
        "muxes": [ { "did": 9, "busses": [ { "id": 1, "devices": [
           { "did": 1, "driver": "TMP75", "address": { "address": 72 }, "label": "i2c<0x48>",
             "components": [ { "uid": 5 } ] },
           { "did": 2, "label": "i2c<0x49>" } ] } ] } ] } ])" },
   { "objects.json", R"({ "objects": [] })" },
   { "emulation.json", R"({ "chips": [] })" },
};

inline std::vector< std::string > findings( const Documents& documents ) {
   Tests::TemporaryDirectory directory;
   for ( const auto& [ name, text ] : documents ) {
      std::ofstream( directory.path() / name, std::ios::binary ) << text;
   }
   try {
      loadBoard( directory.path(), Emulation::Needed );
   } catch ( const BoardError& error ) {
      std::vector< std::string > texts;
      for ( const Finding& finding : error.findings ) {
         texts.push_back( finding.text().substr( directory.path().string().size() + 1 ) );
      }
      return texts;
   }
   return {};
}

}  // namespace Host
