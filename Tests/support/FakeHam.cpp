#include "Tests/support/FakeHam.h"

#include <fmt/format.h>

namespace Tests {

namespace {

std::string toHex( const std::string& bytes ) {
   std::string digits;
   for ( char byte : bytes ) {
      digits += fmt::format( "{:02x}", static_cast< uint8_t >( byte ) );
   }
   return digits;
}

std::string fromHex( const std::string& digits ) {
   std::string bytes;
   for ( size_t i = 0; i < digits.size(); i += 2 ) {
      bytes += static_cast< char >( std::stoi( digits.substr( i, 2 ), nullptr, 16 ) );
   }
   return bytes;
}

}  // namespace

void FakeHam::load( Register reg, const std::string& hexBytes ) {
   registers_[ reg ] = fromHex( hexBytes );
}

void FakeHam::loadNext( Register reg, const std::vector< std::string >& hexBytes ) {
   for ( const std::string& bytes : hexBytes ) {
      next_[ reg ].push_back( fromHex( bytes ) );
   }
}

pl_status FakeHam::execute() {
   ++batches;
   for ( Transaction& transaction : batch_ ) {
      log.push_back( transaction.line );
      if ( log.size() == failingStep_ || transaction.line.starts_with( failingLine_ ) ) {
         return failure_;
      }
      std::string& bytes = registers_[ transaction.reg ];
      if ( !transaction.written.empty() && !fixed.contains( transaction.reg ) ) {
         bytes = transaction.written;
      }
      if ( onWrite && !transaction.written.empty() ) {
         onWrite( transaction.reg, transaction.written );
      }
      transaction.answer = bytes;
      if ( auto& next = next_[ transaction.reg ]; transaction.readLength && !next.empty() ) {
         transaction.answer = next.front();
         next.pop_front();
      }
      if ( transaction.readLength != kWholeRegister ) {
         transaction.answer.resize( transaction.readLength );
      }
   }
   return PL_STATUS_OK;
}

Ham::Ham::ResponseId FakeHam::addReading( const std::string& name, Register reg, size_t length ) {
   batch_.push_back( { fmt::format( "{} {:02x}", name, reg ), reg, length, "", "" } );
   return static_cast< ResponseId >( batch_.size() - 1 );
}

void FakeHam::addWriting( const std::string& name, Register reg, const void* data, size_t length ) {
   std::string bytes( static_cast< const char* >( data ), length );
   batch_.push_back(
      { fmt::format( "{} {:02x}={}", name, reg, toHex( bytes ) ), reg, 0, bytes, "" } );
}

Ham::Ham::ResponseId FakeHam::addProcessCall( Register reg, uint16_t value, uint8_t ) {
   addWriting( "PC", reg, &value, 2 );
   batch_.back().written.clear();
   batch_.back().readLength = 2;
   return static_cast< ResponseId >( batch_.size() - 1 );
}

}  // namespace Tests
