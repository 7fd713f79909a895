#pragma once

#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

namespace Tests {

inline std::string textOf( const std::filesystem::path& path ) {
   std::ifstream file( path, std::ios::binary );
   return { std::istreambuf_iterator< char >( file ), {} };
}

class TemporaryDirectory {
 public:
   TemporaryDirectory() {
      std::string pattern = ( std::filesystem::temp_directory_path() / "lumen-XXXXXX" ).string();
      path_ = mkdtemp( pattern.data() );
   }
   ~TemporaryDirectory() { std::filesystem::remove_all( path_ ); }
   TemporaryDirectory( const TemporaryDirectory& ) = delete;
   TemporaryDirectory& operator=( const TemporaryDirectory& ) = delete;

   const std::filesystem::path& path() const { return path_; }

 private:
   std::filesystem::path path_;
};

}  // namespace Tests
