#include "Drivers/BCM59121/FirmwareImage.h"

#include <cstdio>
#include <filesystem>
#include <memory>

#include "Drivers/BCM59121/Message.h"

namespace Drivers::Poe {

namespace {

constexpr const char* kFileName = "poe_firmware.bin";

// The file's header, then the payload.
constexpr const char* kMagic = "LPSE";
constexpr size_t kLength = 4;
constexpr size_t kCrc = 8;
constexpr size_t kVersion = 12;
constexpr size_t kExtendedVersion = 13;
constexpr size_t kHeaderLength = 16;
constexpr uint32_t kGreatestPayload = 1'048'576;

constexpr uint32_t kPolynomial = 0xEDB88320;  // its lowest bit first

uint32_t numberAt( const std::string& file, size_t index ) {
   return uint32_t{ wordAt( file, index ) } << 16 | wordAt( file, index + 2 );
}

bool leadsAway( const std::filesystem::path& path ) {
   for ( const auto& component : path ) {
      if ( component == ".." ) {
         return true;
      }
   }
   return path.is_absolute();
}

// One byte more than an image can have tells that a file is none.
std::string readFile( const std::filesystem::path& path ) {
   std::error_code error;
   if ( !std::filesystem::is_regular_file( path, error ) ) {
      return "";
   }
   std::unique_ptr< FILE, int ( * )( FILE* ) > file( fopen( path.c_str(), "rbe" ), fclose );
   if ( !file ) {
      return "";
   }
   std::string bytes( kHeaderLength + kGreatestPayload + 1, '\0' );
   bytes.resize( fread( bytes.data(), 1, bytes.size(), file.get() ) );
   return bytes;
}

}  // namespace

const char* firmwareRoot = "/usr/share/firmware/";

uint32_t crc32( const std::string& bytes ) {
   uint32_t crc = ~0u;
   for ( char byte : bytes ) {
      crc ^= static_cast< uint8_t >( byte );
      for ( int bit = 0; bit < 8; ++bit ) {
         crc = crc >> 1 ^ ( crc & 1 ? kPolynomial : 0 );
      }
   }
   return ~crc;
}

const char* decodeFirmware( const std::string& file, FirmwareImage* image ) {
   if ( !file.starts_with( kMagic ) ) {
      return "PoE firmware is no image.";
   }
   uint32_t length = numberAt( file, kLength );
   if ( length == 0 || length > kGreatestPayload || file.size() != kHeaderLength + length ) {
      return "PoE firmware has a wrong length.";
   }
   std::string payload = file.substr( kHeaderLength );
   uint32_t crc = numberAt( file, kCrc );
   if ( crc32( payload ) != crc ) {
      return "PoE firmware is damaged.";
   }
   *image = { byteAt( file, kVersion ), byteAt( file, kExtendedVersion ), crc,
              std::move( payload ) };
   return nullptr;
}

const char* loadFirmware( const std::string& directory, FirmwareImage* image ) {
   if ( leadsAway( directory ) ) {
      return "PoE firmware path is not allowed.";
   }
   std::string file = readFile( std::filesystem::path( firmwareRoot ) / directory / kFileName );
   return file.empty() ? kFirmwareNotFound : decodeFirmware( file, image );
}

}  // namespace Drivers::Poe
