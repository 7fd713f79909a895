#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace Bench {

// A board folder with emulated chips and, as a list of JSON, objects; removed at the end of the
// scope.
class TemporaryBoard {
 public:
   TemporaryBoard( const std::string& topology,
                   const std::vector< uint32_t >& chips,
                   const std::string& objects = "[]" );
   ~TemporaryBoard();
   TemporaryBoard( const TemporaryBoard& ) = delete;
   TemporaryBoard& operator=( const TemporaryBoard& ) = delete;

   const std::string& path() const { return path_; }

 private:
   std::string path_;
};

}  // namespace Bench
