#include "Drivers/SmbusProxyDriver.h"

#include <unistd.h>

#include <cstring>
#include <string>

#include "Components/SmbusProxy.h"
#include "Drivers/Arguments.h"
#include "Ham/Ham.h"

namespace Drivers {

namespace {

constexpr int kMicrosecondsPerMillisecond = 1000;

int delayInMicroseconds( const DriverArgs& args, const char* key ) {
   return Utils::truncate( double{ kMicrosecondsPerMillisecond } *
                           argumentOr( args.driverArgs, key, Utils::stoi, 0 ) );
}

pl_status pauseAfter( pl_status status, int microseconds ) {
   if ( microseconds > 0 ) {
      usleep( static_cast< useconds_t >( microseconds ) );
   }
   return status;
}

}  // namespace

class SmbusProxyDriver::SmbusProxy final : public Component::LogicalDevice::SmbusProxy {
 public:
   SmbusProxy( SmbusProxyDriver* driver, int readDelay, int writeDelay )
       : driver_( driver ), readDelay_( readDelay ), writeDelay_( writeDelay ) {}

   [[nodiscard]] pl_status receiveByte( uint8_t* out ) override {
      return pauseAfter( ham()->recvByte( out ), readDelay_ );
   }

   [[nodiscard]] pl_status sendByte( uint8_t value ) override {
      return pauseAfter( ham()->sendByte( value, false ), writeDelay_ );
   }

   [[nodiscard]] pl_status readByte( uint32_t reg, uint8_t regSize, uint8_t* out ) override {
      return pauseAfter( ham()->read8( reg, out, regSize ), readDelay_ );
   }

   [[nodiscard]] pl_status writeByte( uint32_t reg, uint8_t regSize, uint8_t value ) override {
      return pauseAfter( ham()->write8( reg, value, false, regSize ), writeDelay_ );
   }

   [[nodiscard]] pl_status readWord( uint32_t reg, uint8_t regSize, uint16_t* out ) override {
      return pauseAfter( ham()->read16( reg, out, regSize ), readDelay_ );
   }

   [[nodiscard]] pl_status writeWord( uint32_t reg, uint8_t regSize, uint16_t value ) override {
      return pauseAfter( ham()->write16( reg, value, false, regSize ), writeDelay_ );
   }

   [[nodiscard]] pl_status blockRead( uint32_t reg,
                                      uint8_t regSize,
                                      uint8_t* buffer,
                                      uint32_t* length ) override {
      std::string block;
      pl_status status = ham()->readBlock( reg, &block, regSize );
      *length = static_cast< uint32_t >( block.size() );
      memcpy( buffer, block.data(), block.size() );
      return pauseAfter( status, readDelay_ );
   }

   [[nodiscard]] pl_status blockWrite( uint32_t reg,
                                       uint8_t regSize,
                                       const uint8_t* data,
                                       uint32_t length ) override {
      return pauseAfter( ham()->writeBlock( reg, data, length, false, regSize ), writeDelay_ );
   }

   [[nodiscard]] pl_status i2cBlockRead( uint32_t reg,
                                         uint8_t regSize,
                                         uint8_t* buffer,
                                         uint32_t length ) override {
      std::string block;
      pl_status status = ham()->read( reg, length, &block, false, regSize );
      if ( block.size() != length ) {
         return PL_STATUS_IO_ERROR;
      }
      block.copy( reinterpret_cast< char* >( buffer ), length );
      return pauseAfter( status, readDelay_ );
   }

   [[nodiscard]] pl_status i2cBlockWrite( uint32_t reg,
                                          uint8_t regSize,
                                          const uint8_t* data,
                                          uint32_t length ) override {
      return pauseAfter( ham()->write( reg, data, length, false, regSize ), writeDelay_ );
   }

   // The write delay: the chip has to act before it answers again.
   [[nodiscard]] pl_status processCall( uint32_t reg,
                                        uint8_t regSize,
                                        uint16_t value,
                                        uint16_t* out ) override {
      return pauseAfter( ham()->processCall( reg, value, out, regSize ), writeDelay_ );
   }

 private:
   Ham::Ham* ham() const { return driver_->ham(); }

   SmbusProxyDriver* driver_;
   int readDelay_;   // microseconds
   int writeDelay_;  // microseconds
};

Component::HardwareDevice* SmbusProxyDriver::create( const FactoryArgs&, Ham::Ham* ) {
   return new SmbusProxyDriver;
}

Component::LogicalDevice::SmbusProxy* SmbusProxyDriver::newSmbusProxy( const DriverArgs& args ) {
   int readDelay = delayInMicroseconds( args, "localReadDelayMs" );
   int writeDelay = delayInMicroseconds( args, "localWriteDelayMs" );
   pl_trace( 0, "setting read delay of %d useconds\n", readDelay );
   pl_trace( 0, "setting write delay of %d useconds\n", writeDelay );
   return new SmbusProxy( this, readDelay, writeDelay );
}

}  // namespace Drivers
