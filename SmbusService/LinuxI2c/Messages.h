#pragma once

#include <linux/i2c.h>

#include <array>
#include <string>

#include "SmbusService/Transfer.h"

namespace SmbusService::LinuxI2c {

constexpr size_t kMaxMessageSize = 8192;  // the kernel's limit

// A transfer as plain I2C messages, with a repeated start between them. The messages point into the
// object.
class Messages {
 public:
   explicit Messages( const Transfer& );
   Messages( const Messages& ) = delete;
   Messages& operator=( const Messages& ) = delete;

   bool fit() const { return written_.size() <= kMaxMessageSize; }
   i2c_msg* data() { return list_.data(); }
   uint32_t size() const { return count_; }

   // What was read. Returns 0, or the errno value of a block with an impossible count.
   int answer( std::string& bytes ) const;

 private:
   void add( const Transfer&, uint16_t flags, std::string& bytes );

   bool isBlock_;
   std::string written_;
   std::string read_;
   std::array< i2c_msg, 2 > list_{};
   uint32_t count_ = 0;
};

}  // namespace SmbusService::LinuxI2c
