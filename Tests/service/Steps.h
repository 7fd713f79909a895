#pragma once

#include <sstream>

#include "Tests/service/Support.h"
#include "Tests/support/Hex.h"

namespace Tests {

// "49>0280" writes 80 to register 02 of device 0x49, "49>02" sends it a byte, "49<02:3" reads three
// bytes and "49<" receives one; without a device it is 0x48.
inline Smbus::Request requestOf( const std::string& step ) {
   size_t sign = step.find_first_of( "<>" );
   size_t colon = step.find( ':' );
   std::string device = bytesOf( step.substr( 0, sign ) );
   std::string bytes = bytesOf( step.substr( sign + 1, colon - sign - 1 ) );
   uint8_t address = sign ? device[ 0 ] : 0x48;
   uint8_t reg = bytes[ 0 ];  // 0 where there is none
   return step[ sign ] == '>'
             ? writeBytes( address, reg, bytes.substr( 1 ) )
             : readBytes( address, reg,
                          colon < step.size() ? std::stoul( step.substr( colon + 1 ) ) : 0 );
}

inline std::vector< std::string > wordsOf( const std::string& text ) {
   std::istringstream words( text );
   return { std::istream_iterator< std::string >( words ), {} };
}

inline Smbus::TransactionRequest batchOf( const std::string& steps ) {
   Smbus::TransactionRequest batch;
   for ( const std::string& step : wordsOf( steps ) ) {
      *batch.add_request() = requestOf( step );
   }
   return batch;
}

// The same for the adapter of the board in Tests/service/twins.
inline Smbus::TransactionRequest twinsBatchOf( const std::string& steps ) {
   Smbus::TransactionRequest batch = batchOf( steps );
   for ( Smbus::Request& request : *batch.mutable_request() ) {
      request.set_mastertype( Smbus::MASTER_SCD );
      request.set_pci( 5 );
      request.set_address( request.address() | 1 << 7 | 2 << 14 );
   }
   return batch;
}

// A board of one chip, with device id 1.
class ChipBoard : public SmbusService::Emulator::EmulatedBoard {
 public:
   explicit ChipBoard( std::unique_ptr< SmbusService::Emulator::Chip > chip ) {
      auto& adapter = bus( SmbusService::AdapterId::of( Smbus::MASTER_I2C, 0, 0, 0 ) );
      auto site = std::make_unique< SmbusService::Emulator::Site >();
      site->did = 1;
      site->address = 0x48;
      site->chip = std::move( chip );
      add( adapter, adapter.root(), std::move( site ) );
   }

   // Steps as above, each a batch, and beside them "low=-4", which sets a quantity, and "low",
   // which asks for it. All answers, with blanks between them.
   std::string run( const std::string& steps ) {
      std::ostringstream answers;
      for ( const std::string& step : wordsOf( steps ) ) {
         size_t mark = step.find_first_of( "<>=" );
         if ( mark == std::string::npos ) {
            answers << get( 1, step ) << ' ';
         } else if ( step[ mark ] == '=' ) {
            set( 1, step.substr( 0, mark ), std::stod( step.substr( mark + 1 ) ) );
         } else {
            answers << execute( *this, batchOf( step ) ) << ' ';
         }
      }
      return answers.str();
   }
};

}  // namespace Tests
