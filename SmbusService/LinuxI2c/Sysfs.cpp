#include "SmbusService/LinuxI2c/Sysfs.h"

#include <fmt/format.h>
#include <fnmatch.h>

#include <algorithm>
#include <charconv>
#include <fstream>
#include <system_error>

namespace SmbusService::LinuxI2c {

namespace {

namespace fs = std::filesystem;

constexpr const char* kDevices = "sys/bus/i2c/devices";
constexpr std::string_view kPrefix = "i2c-";  // "i2c-3"; chips are called "3-0048"

std::optional< unsigned > numberIn( const std::string& entry ) {
   if ( !entry.starts_with( kPrefix ) ) {
      return std::nullopt;
   }
   unsigned number = 0;
   const char* end = entry.data() + entry.size();
   auto [ last, error ] = std::from_chars( entry.data() + kPrefix.size(), end, number );
   return error == std::errc() && last == end ? std::optional( number ) : std::nullopt;
}

std::string lineOf( const fs::path& path ) {
   std::ifstream file( path );
   std::string line;
   std::getline( file, line );
   return line;
}

bool matches( const std::string& pattern, const std::string& text ) {
   return fnmatch( pattern.c_str(), text.c_str(), 0 ) == 0;
}

}  // namespace

std::string SystemAdapter::text() const {
   return fmt::format( "i2c-{} \"{}\" at {}", number, name, path );
}

std::vector< SystemAdapter > Sysfs::adapters() const {
   std::vector< SystemAdapter > found;
   std::error_code error;
   fs::path root = fs::canonical( root_, error );
   for ( fs::directory_iterator entry( root / kDevices, error ), end; !error && entry != end;
         entry.increment( error ) ) {
      auto number = numberIn( entry->path().filename() );
      std::error_code gone;
      fs::path device = fs::canonical( entry->path(), gone );
      if ( number && !gone ) {
         fs::path parent = "/" / device.parent_path().lexically_relative( root );
         found.push_back( { *number, lineOf( device / "name" ), parent } );
      }
   }
   std::ranges::sort( found, {}, &SystemAdapter::number );
   return found;
}

std::vector< SystemAdapter > Sysfs::find( const BoardFiles::AdapterSpec& spec ) const {
   std::vector< SystemAdapter > found = adapters();
   std::erase_if( found, [ & ]( const SystemAdapter& adapter ) {
      return spec.name   ? !matches( *spec.name, adapter.name )
             : spec.path ? !matches( *spec.path, adapter.path )
                         : adapter.number != spec.number;
   } );
   return found;
}

std::string Sysfs::driverAt( unsigned adapter, uint8_t address ) const {
   std::error_code error;
   fs::path chip = root_ / kDevices / fmt::format( "{}-{:04x}", adapter, address );
   return fs::read_symlink( chip / "driver", error ).filename();
}

bool Sysfs::has( unsigned adapter ) const {
   std::error_code error;
   return fs::exists( root_ / kDevices / fmt::format( "i2c-{}", adapter ), error );
}

std::string Sysfs::deviceFile( unsigned adapter ) const {
   return root_ / fmt::format( "dev/i2c-{}", adapter );
}

}  // namespace SmbusService::LinuxI2c
