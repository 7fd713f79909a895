#include "BoardFiles/OperationWords.h"

#include <fmt/format.h>

namespace BoardFiles {

namespace {

std::string counted( uint32_t bytes ) {
   return fmt::format( "{} byte{}", bytes, bytes == 1 ? "" : "s" );
}

std::string nameOf( Smbus::RequestType type, uint32_t size ) {
   switch ( type ) {
      case Smbus::REQUEST_READ:
         return "read " + counted( size );
      case Smbus::REQUEST_WRITE:
         return "write " + counted( size );
      case Smbus::REQUEST_PROCESS_CALL:
         return "process call";
      case Smbus::REQUEST_BLOCK_READ:
         return "block read";
      case Smbus::REQUEST_BLOCK_WRITE:
         return "block write " + counted( size );
   }
   return "unknown operation";
}

}  // namespace

std::string operationWords( Smbus::RequestType type,
                            uint32_t size,
                            uint32_t reg,
                            uint32_t registerSize ) {
   if ( size == 0 && type == Smbus::REQUEST_READ ) {
      return "receive byte";
   }
   if ( size == 0 && type == Smbus::REQUEST_WRITE ) {
      return fmt::format( "send byte 0x{:02x}", reg );
   }
   return fmt::format( "{}, register 0x{:0{}x}", nameOf( type, size ), reg, 2 * registerSize );
}

}  // namespace BoardFiles
