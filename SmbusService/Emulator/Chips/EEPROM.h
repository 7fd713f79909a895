#pragma once

#include <array>
#include <chrono>
#include <optional>

#include "SmbusService/Emulator/Chip.h"

namespace SmbusService::Emulator {

// EEPROM of 256 bytes with 8-byte pages (24C02).
//
// "contents" are hexadecimal when they consist of pairs of hexadecimal digits, with white space
// between them as one likes, else plain text. The rest of the memory is erased.
class EEPROM : public Chip {
 public:
   EEPROM();

   void reset() override;
   bool start( Direction ) override;
   bool write( uint8_t byte ) override;
   uint8_t read() override;
   void stop() override;
   void load( std::string_view contents ) override;

 protected:
   static constexpr size_t kSize = 256;

   // Erases what it does not fill. std::invalid_argument when it does not fit.
   void fill( std::string_view bytes );

 private:
   using Clock = std::chrono::steady_clock;

   static constexpr size_t kPage = 8;

   std::array< uint8_t, kSize > memory_;
   std::array< std::optional< uint8_t >, kPage > page_{};  // written since START
   uint8_t address_ = 0;
   bool addressNext_ = false;
   Clock::time_point busyUntil_{};
};

}  // namespace SmbusService::Emulator
