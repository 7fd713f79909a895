#include <algorithm>
#include <array>
#include <cctype>
#include <chrono>
#include <optional>
#include <stdexcept>

#include "SmbusService/Emulator/Chip.h"

// EEPROM of 256 bytes with 8-byte pages (24C02).
//
// "contents" are hexadecimal when they consist of pairs of hexadecimal digits, with white space
// between them as one likes, else plain text. The rest of the memory is erased.

namespace SmbusService::Emulator {

namespace {

using Clock = std::chrono::steady_clock;

constexpr size_t kSize = 256;
constexpr size_t kPage = 8;
constexpr uint8_t kErased = 0xff;
constexpr std::chrono::milliseconds kWriteCycle( 5 );

int digitValue( char character ) {
   int lower = std::tolower( static_cast< unsigned char >( character ) );
   return lower <= '9' ? lower - '0' : lower - 'a' + 10;
}

std::string decodeContents( std::string_view text ) {
   std::string digits;
   for ( unsigned char character : text ) {
      if ( std::isxdigit( character ) ) {
         digits += static_cast< char >( character );
      } else if ( !std::isspace( character ) ) {
         return std::string( text );
      }
   }
   if ( digits.size() % 2 ) {
      return std::string( text );
   }
   std::string bytes;
   for ( size_t i = 0; i < digits.size(); i += 2 ) {
      bytes +=
         static_cast< char >( digitValue( digits[ i ] ) << 4 | digitValue( digits[ i + 1 ] ) );
   }
   return bytes;
}

class EEPROM : public Chip {
 public:
   EEPROM() { memory_.fill( kErased ); }

   void reset() override {
      address_ = 0;
      busyUntil_ = {};
   }

   // Deaf while it programs a page.
   bool start( Direction direction ) override {
      addressNext_ = direction == Direction::kWrite;
      page_.fill( {} );
      return Clock::now() >= busyUntil_;
   }

   bool write( uint8_t byte ) override {
      if ( addressNext_ ) {
         address_ = byte;
         addressNext_ = false;
         return true;
      }
      page_[ address_ % kPage ] = byte;
      bool pageEnds = address_ % kPage == kPage - 1;
      address_ = static_cast< uint8_t >( pageEnds ? address_ - ( kPage - 1 ) : address_ + 1u );
      return true;
   }

   uint8_t read() override { return memory_[ address_++ ]; }

   // Only a STOP programs what was written.
   void stop() override {
      size_t pageStart = address_ - address_ % kPage;
      for ( size_t i = 0; i < kPage; ++i ) {
         if ( page_[ i ] ) {
            memory_[ pageStart + i ] = *page_[ i ];
            busyUntil_ = Clock::now() + kWriteCycle;
         }
      }
      page_.fill( {} );
   }

   void load( std::string_view contents ) override {
      std::string bytes = decodeContents( contents );
      if ( bytes.size() > kSize ) {
         throw std::invalid_argument( "more than 256 bytes" );
      }
      memory_.fill( kErased );
      std::copy( bytes.begin(), bytes.end(), memory_.begin() );
   }

 private:
   std::array< uint8_t, kSize > memory_;
   std::array< std::optional< uint8_t >, kPage > page_{};  // written since START
   uint8_t address_ = 0;
   bool addressNext_ = false;
   Clock::time_point busyUntil_{};
};

}  // namespace

std::unique_ptr< Chip > newEEPROM() {
   return std::make_unique< EEPROM >();
}

}  // namespace SmbusService::Emulator
