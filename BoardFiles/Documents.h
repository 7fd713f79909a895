#pragma once

#include <optional>
#include <string>
#include <vector>

#include "BoardFiles/Finding.h"
#include "Utils/Json.h"

namespace BoardFiles {

// One of a board's documents.
struct BoardFile {
   std::string path = {};
   std::string text = {};
   Utils::Json::Document json = {};
   bool sound = false;  // satisfies its schema
};

// Each reads the file of its kind in the folder and adds what is wrong with it to `findings`.
BoardFile readTopology( const std::string& directory, std::vector< Finding >& findings );
BoardFile readObjects( const std::string& directory, std::vector< Finding >& findings );
BoardFile readEmulation( const std::string& directory, std::vector< Finding >& findings );
BoardFile readAdapters( const std::string& directory, std::vector< Finding >& findings );

// The service's policy, which may lie anywhere.
BoardFile readPolicy( const std::string& path, std::vector< Finding >& findings );

// A line of a wire log, called as `place` says.
BoardFile readWireLine( std::string place, std::string text, std::vector< Finding >& findings );

// A request to the service's control socket; its path is "request".
BoardFile readControlRequest( std::string text, std::vector< Finding >& findings );

// What the service answers there; its path is "answer".
BoardFile readControlAnswer( std::string text, std::vector< Finding >& findings );

}  // namespace BoardFiles
