#include "SmbusService/LinuxI2c/Messages.h"

#include <cerrno>

namespace SmbusService::LinuxI2c {

namespace {

constexpr size_t kCountSize = 1;

std::string bytesToWrite( const Transfer& transfer ) {
   std::string bytes;
   int registerSize = transfer.isReceiveByte() ? 0
                      : transfer.isSendByte()  ? 1
                                               : transfer.address.registerSize;
   for ( int shift = 8 * ( registerSize - 1 ); shift >= 0; shift -= 8 ) {
      bytes += static_cast< char >( transfer.reg >> shift );
   }
   if ( transfer.type == Smbus::REQUEST_BLOCK_WRITE ) {
      bytes += static_cast< char >( transfer.size );
   }
   return bytes.append( transfer.data );
}

}  // namespace

Messages::Messages( const Transfer& transfer )
    : isBlock_( transfer.type == Smbus::REQUEST_BLOCK_READ ), written_( bytesToWrite( transfer ) ) {
   if ( !written_.empty() ) {
      add( transfer, 0, written_ );
   }
   if ( isBlock_ ) {
      // The kernel wants to know how many bytes stand before the block, and room for the longest.
      read_.assign( kCountSize + I2C_SMBUS_BLOCK_MAX, 0 );
      read_[ 0 ] = kCountSize;
      add( transfer, I2C_M_RD | I2C_M_RECV_LEN, read_ );
   } else if ( transfer.reads() ) {
      read_.assign( transfer.answerLimit(), 0 );
      add( transfer, I2C_M_RD, read_ );
   }
}

void Messages::add( const Transfer& transfer, uint16_t flags, std::string& bytes ) {
   list_[ count_++ ] = { .addr = transfer.address.device,
                         .flags = flags,
                         .len = static_cast< uint16_t >( bytes.size() ),
                         .buf = reinterpret_cast< uint8_t* >( bytes.data() ) };
}

int Messages::answer( std::string& bytes ) const {
   if ( !isBlock_ ) {
      bytes = read_;
      return 0;
   }
   auto count = static_cast< uint8_t >( read_[ 0 ] );
   if ( count == 0 || count > I2C_SMBUS_BLOCK_MAX ) {
      return EPROTO;
   }
   bytes = read_.substr( kCountSize, count );
   return 0;
}

}  // namespace SmbusService::LinuxI2c
