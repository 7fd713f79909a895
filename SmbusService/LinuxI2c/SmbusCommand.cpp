#include "SmbusService/LinuxI2c/SmbusCommand.h"

#include <fmt/format.h>

#include <algorithm>
#include <cerrno>

namespace SmbusService::LinuxI2c {

namespace {

constexpr uint32_t kAnySize = UINT32_MAX;

// The commands that a transfer can be, the first that the adapter has is taken.
struct Row {
   Smbus::RequestType type;
   uint32_t bytes;  // of data
   uint32_t size;
   unsigned long capability;
   const char* name;
};

constexpr Row kRows[] = {
   { Smbus::REQUEST_READ, 0, I2C_SMBUS_BYTE, I2C_FUNC_SMBUS_READ_BYTE, "receive byte" },
   { Smbus::REQUEST_READ, 1, I2C_SMBUS_BYTE_DATA, I2C_FUNC_SMBUS_READ_BYTE_DATA, "read byte" },
   { Smbus::REQUEST_READ, 2, I2C_SMBUS_WORD_DATA, I2C_FUNC_SMBUS_READ_WORD_DATA, "read word" },
   { Smbus::REQUEST_READ, kAnySize, I2C_SMBUS_I2C_BLOCK_DATA, I2C_FUNC_SMBUS_READ_I2C_BLOCK,
     "I2C block read" },
   { Smbus::REQUEST_WRITE, 0, I2C_SMBUS_BYTE, I2C_FUNC_SMBUS_WRITE_BYTE, "send byte" },
   { Smbus::REQUEST_WRITE, 1, I2C_SMBUS_BYTE_DATA, I2C_FUNC_SMBUS_WRITE_BYTE_DATA, "write byte" },
   { Smbus::REQUEST_WRITE, 2, I2C_SMBUS_WORD_DATA, I2C_FUNC_SMBUS_WRITE_WORD_DATA, "write word" },
   { Smbus::REQUEST_WRITE, kAnySize, I2C_SMBUS_I2C_BLOCK_DATA, I2C_FUNC_SMBUS_WRITE_I2C_BLOCK,
     "I2C block write" },
   { Smbus::REQUEST_PROCESS_CALL, 2, I2C_SMBUS_PROC_CALL, I2C_FUNC_SMBUS_PROC_CALL,
     "process call" },
   { Smbus::REQUEST_BLOCK_READ, kAnySize, I2C_SMBUS_BLOCK_DATA, I2C_FUNC_SMBUS_READ_BLOCK_DATA,
     "block read" },
   { Smbus::REQUEST_BLOCK_WRITE, kAnySize, I2C_SMBUS_BLOCK_DATA, I2C_FUNC_SMBUS_WRITE_BLOCK_DATA,
     "block write" },
};

bool fits( const Row& row, const Transfer& transfer ) {
   bool hasRegister = transfer.size || transfer.type == Smbus::REQUEST_BLOCK_READ ||
                      transfer.type == Smbus::REQUEST_BLOCK_WRITE;
   return row.type == transfer.type &&
          ( row.bytes == transfer.size || ( row.bytes == kAnySize && hasRegister ) );
}

}  // namespace

SmbusCommand::SmbusCommand( const Transfer& transfer, unsigned long capabilities )
    : direction_( transfer.reads() && transfer.type != Smbus::REQUEST_PROCESS_CALL
                     ? I2C_SMBUS_READ
                     : I2C_SMBUS_WRITE ),
      command_( static_cast< uint8_t >( transfer.reg ) ),
      count_( transfer.size ) {
   bool hasRegister = !transfer.isSendByte() && !transfer.isReceiveByte();
   if ( hasRegister && transfer.address.registerSize > 1 ) {
      problem_ = fmt::format( "{}-byte register numbers need plain I2C, which the adapter lacks",
                              transfer.address.registerSize );
   } else if ( transfer.size > I2C_SMBUS_BLOCK_MAX ) {
      problem_ = fmt::format( "more than {} bytes need plain I2C, which the adapter lacks",
                              I2C_SMBUS_BLOCK_MAX );
   } else {
      choose( transfer, capabilities );
      fill( transfer );
   }
}

void SmbusCommand::choose( const Transfer& transfer, unsigned long capabilities ) {
   for ( const Row& row : kRows ) {
      if ( !fits( row, transfer ) ) {
         continue;
      }
      if ( capabilities & row.capability ) {
         problem_.clear();
         size_ = row.size;
         return;
      }
      problem_ +=
         fmt::format( "{} {}", problem_.empty() ? "the adapter has no" : " and no", row.name );
   }
}

void SmbusCommand::fill( const Transfer& transfer ) {
   const auto* bytes = reinterpret_cast< const uint8_t* >( transfer.data.data() );
   switch ( size_ ) {
      case I2C_SMBUS_BYTE_DATA:
         data_.byte = transfer.data.empty() ? uint8_t{} : bytes[ 0 ];
         break;
      case I2C_SMBUS_WORD_DATA:
      case I2C_SMBUS_PROC_CALL:
         data_.word = transfer.data.empty()
                         ? uint16_t{}
                         : static_cast< uint16_t >( bytes[ 0 ] | bytes[ 1 ] << 8 );
         break;
      default:
         data_.block[ 0 ] = static_cast< uint8_t >( transfer.size );
         std::ranges::copy( transfer.data, &data_.block[ 1 ] );
   }
}

int SmbusCommand::answer( std::string& bytes ) const {
   switch ( size_ ) {
      case I2C_SMBUS_BYTE:
      case I2C_SMBUS_BYTE_DATA:
         bytes.assign( 1, static_cast< char >( data_.byte ) );
         return 0;
      case I2C_SMBUS_WORD_DATA:
      case I2C_SMBUS_PROC_CALL:
         bytes = { static_cast< char >( data_.word ), static_cast< char >( data_.word >> 8 ) };
         return 0;
      default:
         break;
   }
   uint8_t count = data_.block[ 0 ];
   bytes.assign( reinterpret_cast< const char* >( &data_.block[ 1 ] ),
                 std::min< size_t >( count, I2C_SMBUS_BLOCK_MAX ) );
   if ( size_ == I2C_SMBUS_I2C_BLOCK_DATA ) {
      return count == count_ ? 0 : EIO;
   }
   return count && count <= I2C_SMBUS_BLOCK_MAX ? 0 : EPROTO;
}

}  // namespace SmbusService::LinuxI2c
