#pragma once

#include <ctime>
#include <vector>

#include "Components/HardwareDevice.h"
#include "pl.h"

namespace Drivers {

// Base of drivers for I/O expanders: banks of eight pins, each with an input, an output and a
// configuration register at a base register plus the bank's number.
//
// Input banks are cached for a time. Output changes are collected by writeBit() and reach the chip
// with save(), in one batch. A bank or a bit that does not exist is an assertion.
class GPIOExpander : public Component::HardwareDevice {
 public:
   // `cacheTime` in seconds.
   GPIOExpander( int numBanks,
                 unsigned int cacheTime,
                 uint8_t inputBase,
                 uint8_t outputBase,
                 uint8_t configBase );

   [[nodiscard]] pl_status getInBank( uint8_t n, uint8_t* value );
   // What is pending for the bank, else what the chip's output register holds.
   [[nodiscard]] pl_status getOutBank( uint8_t n, uint8_t* value );

   [[nodiscard]] pl_status readBit( uint8_t bank, uint8_t bit, bool* value );
   [[nodiscard]] pl_status writeBit( uint8_t bank, uint8_t bit, bool value );
   // Pins are numbered through the banks, eight to each.
   [[nodiscard]] pl_status readBit( uint8_t pin, bool* value );
   [[nodiscard]] pl_status writeBit( uint8_t pin, bool value );

   // Writes every pending bank. What was written is forgotten, also when the batch failed: the next
   // writeBit() starts from what the chip holds.
   [[nodiscard]] pl_status save();

   // One byte for each bank.
   [[nodiscard]] pl_status writeConfig( const uint8_t* bankConfig );

   uint8_t outputBankAddr( uint8_t n ) const;
   uint8_t configBankAddr( uint8_t n ) const;

   using HardwareDevice::hamIs;

 protected:
   std::vector< timespec > lastRead_;  // of each input bank, monotonic; zero: never
   std::vector< uint8_t > inputs_;
   std::vector< uint16_t > outputs_;  // the pending byte, or kUnknown

 public:
   const int numBanks_;

 protected:
   static constexpr uint16_t kUnknown = 0xFFFF;

   const unsigned int cacheTime_;
   const uint8_t inputBase_;
   const uint8_t outputBase_;
   const uint8_t configBase_;

 private:
   bool isPending( uint8_t bank ) const;
   bool isExpired( uint8_t bank, const timespec& now ) const;
   void addWrite( uint8_t reg, uint8_t value );
};

}  // namespace Drivers
