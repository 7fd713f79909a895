#pragma once

#include <cstdint>

#include "Components/LogicalDevice.h"

namespace Component::LogicalDevice {

// A raw SMBus endpoint: single transactions with one chip. `regSize` is the number of bytes of the
// register number. Objects are never destroyed; there is no virtual destructor.
class SmbusProxy {
 public:
   [[nodiscard]] virtual pl_status quickCommand( int value );
   [[nodiscard]] virtual pl_status receiveByte( uint8_t* out ) = 0;
   [[nodiscard]] virtual pl_status sendByte( uint8_t value ) = 0;
   [[nodiscard]] virtual pl_status readByte( uint32_t reg, uint8_t regSize, uint8_t* out ) = 0;
   [[nodiscard]] virtual pl_status writeByte( uint32_t reg, uint8_t regSize, uint8_t value ) = 0;
   [[nodiscard]] virtual pl_status readWord( uint32_t reg, uint8_t regSize, uint16_t* out ) = 0;
   [[nodiscard]] virtual pl_status writeWord( uint32_t reg, uint8_t regSize, uint16_t value ) = 0;
   // The buffer must hold 255 bytes, the largest block that a device can return.
   [[nodiscard]] virtual pl_status blockRead( uint32_t reg,
                                              uint8_t regSize,
                                              uint8_t* buffer,
                                              uint32_t* length ) = 0;
   [[nodiscard]] virtual pl_status blockWrite( uint32_t reg,
                                               uint8_t regSize,
                                               const uint8_t* data,
                                               uint32_t length ) = 0;
   [[nodiscard]] virtual pl_status i2cBlockRead( uint32_t reg,
                                                 uint8_t regSize,
                                                 uint8_t* buffer,
                                                 uint32_t length ) = 0;
   [[nodiscard]] virtual pl_status i2cBlockWrite( uint32_t reg,
                                                  uint8_t regSize,
                                                  const uint8_t* data,
                                                  uint32_t length ) = 0;
   [[nodiscard]] virtual pl_status processCall( uint32_t reg,
                                                uint8_t regSize,
                                                uint16_t value,
                                                uint16_t* out ) = 0;
   [[nodiscard]] virtual pl_status blockProcessCall( uint32_t reg,
                                                     uint8_t regSize,
                                                     const uint8_t* data,
                                                     uint8_t length,
                                                     uint8_t* buffer,
                                                     uint8_t* answerLength );

   pl_smbus* record() { return record_.get(); }

   static constexpr auto quickCommandCallback =
      callback< pl_smbus, "quickCommandCallback", &SmbusProxy::quickCommand, TraceName< 1 > >;
   static constexpr auto receiveByteCallback =
      callback< pl_smbus, "receiveByteCallback", &SmbusProxy::receiveByte, TraceName< 1 > >;
   static constexpr auto sendByteCallback =
      callback< pl_smbus, "sendByteCallback", &SmbusProxy::sendByte, TraceName< 1 > >;
   static constexpr auto readByteCallback =
      callback< pl_smbus, "readByteCallback", &SmbusProxy::readByte, TraceName< 1 > >;
   static constexpr auto writeByteCallback =
      callback< pl_smbus, "writeByteCallback", &SmbusProxy::writeByte, TraceName< 1 > >;
   static constexpr auto readWordCallback =
      callback< pl_smbus, "readWordCallback", &SmbusProxy::readWord, TraceName< 1 > >;
   static constexpr auto writeWordCallback =
      callback< pl_smbus, "writeWordCallback", &SmbusProxy::writeWord, TraceName< 1 > >;
   static constexpr auto blockReadCallback =
      callback< pl_smbus, "blockReadCallback", &SmbusProxy::blockRead, TraceName< 1 > >;
   static constexpr auto blockWriteCallback =
      callback< pl_smbus, "blockWriteCallback", &SmbusProxy::blockWrite, TraceName< 1 > >;
   static constexpr auto i2cBlockReadCallback =
      callback< pl_smbus, "i2cBlockReadCallback", &SmbusProxy::i2cBlockRead, TraceName< 1 > >;
   static constexpr auto i2cBlockWriteCallback =
      callback< pl_smbus, "i2cBlockWriteCallback", &SmbusProxy::i2cBlockWrite, TraceName< 1 > >;
   static constexpr auto processCallCallback =
      callback< pl_smbus, "processCallCallback", &SmbusProxy::processCall, TraceName< 1 > >;
   static constexpr auto blockProcessCallCallback = callback< pl_smbus,
                                                              "blockProcessCallCallback",
                                                              &SmbusProxy::blockProcessCall,
                                                              TraceName< 1 > >;
   static const pl_smbus_ops ops_;

 protected:
   ~SmbusProxy() = default;

 private:
   HostRecord< pl_smbus > record_{ &ops_, this };
};

}  // namespace Component::LogicalDevice
