#include "Bench/TemporaryBoard.h"

#include <fmt/format.h>
#include <stdlib.h>

#include <fstream>
#include <stdexcept>

namespace Bench {

TemporaryBoard::TemporaryBoard( const std::string& topology,
                                const std::vector< uint32_t >& chips,
                                const std::string& objects )
    : path_( ( std::filesystem::temp_directory_path() / "lumen-bench-XXXXXX" ).string() ) {
   if ( !mkdtemp( path_.data() ) ) {
      throw std::runtime_error( "no temporary directory for a board" );
   }
   std::string emulation;
   for ( uint32_t did : chips ) {
      emulation += fmt::format( R"({}{{"did":{}}})", emulation.empty() ? "" : ",", did );
   }
   std::ofstream( path_ + "/topology.json" ) << topology;
   std::ofstream( path_ + "/objects.json" ) << R"({"objects":)" << objects << "}";
   std::ofstream( path_ + "/emulation.json" ) << R"({"chips":[)" << emulation << "]}";
}

TemporaryBoard::~TemporaryBoard() {
   std::error_code ignored;
   std::filesystem::remove_all( path_, ignored );
}

}  // namespace Bench
