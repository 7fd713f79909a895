#pragma once

#include <cstdint>

#include "pl.h"

namespace Component::LogicalDevice {

// A raw SMBus endpoint: single transactions with one chip. `regSize` is the number of bytes of the
// register number. Objects are never destroyed; there is no virtual destructor.
class SmbusProxy {
 public:
   SmbusProxy();
   SmbusProxy( const SmbusProxy& ) = delete;
   SmbusProxy& operator=( const SmbusProxy& ) = delete;

   virtual pl_status quickCommand( int value );
   virtual pl_status receiveByte( uint8_t* out ) = 0;
   virtual pl_status sendByte( uint8_t value ) = 0;
   virtual pl_status readByte( uint32_t reg, uint8_t regSize, uint8_t* out ) = 0;
   virtual pl_status writeByte( uint32_t reg, uint8_t regSize, uint8_t value ) = 0;
   virtual pl_status readWord( uint32_t reg, uint8_t regSize, uint16_t* out ) = 0;
   virtual pl_status writeWord( uint32_t reg, uint8_t regSize, uint16_t value ) = 0;
   // The buffer must hold the largest block that the device can return.
   virtual pl_status blockRead( uint32_t reg,
                                uint8_t regSize,
                                uint8_t* buffer,
                                uint32_t* length ) = 0;
   virtual pl_status blockWrite( uint32_t reg,
                                 uint8_t regSize,
                                 const uint8_t* data,
                                 uint32_t length ) = 0;
   virtual pl_status i2cBlockRead( uint32_t reg,
                                   uint8_t regSize,
                                   uint8_t* buffer,
                                   uint32_t length ) = 0;
   virtual pl_status i2cBlockWrite( uint32_t reg,
                                    uint8_t regSize,
                                    const uint8_t* data,
                                    uint32_t length ) = 0;
   virtual pl_status processCall( uint32_t reg,
                                  uint8_t regSize,
                                  uint16_t value,
                                  uint16_t* out ) = 0;
   virtual pl_status blockProcessCall( uint32_t reg,
                                       uint8_t regSize,
                                       const uint8_t* data,
                                       uint8_t length,
                                       uint8_t* buffer,
                                       uint8_t* answerLength );

   pl_smbus* record() { return &record_; }

   static const pl_smbus_ops ops_;
   static pl_status quickCommandCallback( pl_smbus* smbus, int value );
   static pl_status receiveByteCallback( pl_smbus* smbus, uint8_t* out );
   static pl_status sendByteCallback( pl_smbus* smbus, uint8_t value );
   static pl_status readByteCallback( pl_smbus* smbus,
                                      uint32_t reg,
                                      uint8_t regSize,
                                      uint8_t* out );
   static pl_status writeByteCallback( pl_smbus* smbus,
                                       uint32_t reg,
                                       uint8_t regSize,
                                       uint8_t value );
   static pl_status readWordCallback( pl_smbus* smbus,
                                      uint32_t reg,
                                      uint8_t regSize,
                                      uint16_t* out );
   static pl_status writeWordCallback( pl_smbus* smbus,
                                       uint32_t reg,
                                       uint8_t regSize,
                                       uint16_t value );
   static pl_status blockReadCallback(
      pl_smbus* smbus, uint32_t reg, uint8_t regSize, uint8_t* buffer, uint32_t* length );
   static pl_status blockWriteCallback(
      pl_smbus* smbus, uint32_t reg, uint8_t regSize, const uint8_t* data, uint32_t length );
   static pl_status i2cBlockReadCallback(
      pl_smbus* smbus, uint32_t reg, uint8_t regSize, uint8_t* buffer, uint32_t length );
   static pl_status i2cBlockWriteCallback(
      pl_smbus* smbus, uint32_t reg, uint8_t regSize, const uint8_t* data, uint32_t length );
   static pl_status processCallCallback(
      pl_smbus* smbus, uint32_t reg, uint8_t regSize, uint16_t value, uint16_t* out );
   static pl_status blockProcessCallCallback( pl_smbus* smbus,
                                              uint32_t reg,
                                              uint8_t regSize,
                                              const uint8_t* data,
                                              uint8_t length,
                                              uint8_t* buffer,
                                              uint8_t* answerLength );

 protected:
   ~SmbusProxy() = default;

 private:
   pl_smbus record_;
};

}  // namespace Component::LogicalDevice
