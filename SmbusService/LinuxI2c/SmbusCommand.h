#pragma once

#include <linux/i2c.h>

#include <string>

#include "SmbusService/Transfer.h"

namespace SmbusService::LinuxI2c {

// A transfer as one of the kernel's SMBus commands, for an adapter that has no plain I2C.
class SmbusCommand {
 public:
   // The capabilities are the adapter's I2C_FUNC_... bits.
   SmbusCommand( const Transfer&, unsigned long capabilities );

   // What stands against it, in words: the capability that the adapter lacks. Empty when it can be
   // executed.
   const std::string& problem() const { return problem_; }

   uint8_t direction() const { return direction_; }  // I2C_SMBUS_READ or I2C_SMBUS_WRITE
   uint8_t command() const { return command_; }
   uint32_t size() const { return size_; }  // the kind of command, I2C_SMBUS_BYTE and so on
   i2c_smbus_data* data() { return &data_; }

   // What was read. Returns 0, or an errno value for an answer that is too short or no block.
   int answer( std::string& bytes ) const;

 private:
   void choose( const Transfer&, unsigned long capabilities );
   void fill( const Transfer& );

   uint8_t direction_;
   uint8_t command_;
   uint32_t size_ = 0;
   uint32_t count_;  // bytes of an I2C block
   std::string problem_;
   i2c_smbus_data data_{};
};

}  // namespace SmbusService::LinuxI2c
