#include "SmbusService/Emulator/Chips/EEPROM.h"

#include <algorithm>
#include <cctype>
#include <stdexcept>

namespace SmbusService::Emulator {

namespace {

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

}  // namespace

EEPROM::EEPROM() {
   memory_.fill( kErased );
}

void EEPROM::reset() {
   address_ = 0;
   busyUntil_ = {};
}

// Deaf while it programs a page.
bool EEPROM::start( Direction direction ) {
   addressNext_ = direction == Direction::kWrite;
   page_.fill( {} );
   return Clock::now() >= busyUntil_;
}

bool EEPROM::write( uint8_t byte ) {
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

uint8_t EEPROM::read() {
   return memory_[ address_++ ];
}

// Only a STOP programs what was written.
void EEPROM::stop() {
   size_t pageStart = address_ - address_ % kPage;
   for ( size_t i = 0; i < kPage; ++i ) {
      if ( page_[ i ] ) {
         memory_[ pageStart + i ] = *page_[ i ];
         busyUntil_ = Clock::now() + kWriteCycle;
      }
   }
   page_.fill( {} );
}

void EEPROM::load( std::string_view contents ) {
   fill( decodeContents( contents ) );
}

void EEPROM::fill( std::string_view bytes ) {
   if ( bytes.size() > kSize ) {
      throw std::invalid_argument( "more than 256 bytes" );
   }
   memory_.fill( kErased );
   std::ranges::copy( bytes, memory_.begin() );
}

std::unique_ptr< Chip > newEEPROM() {
   return std::make_unique< EEPROM >();
}

}  // namespace SmbusService::Emulator
