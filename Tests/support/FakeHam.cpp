#include "Tests/support/FakeHam.h"

#include <fmt/format.h>

#include "Tests/support/Hex.h"

namespace Tests {

void FakeHam::load( Register reg, const std::string& hexBytes ) {
   registers_[ reg ] = bytesOf( hexBytes );
}

void FakeHam::loadNext( Register reg, const std::vector< std::string >& hexBytes ) {
   for ( const std::string& bytes : hexBytes ) {
      next_[ reg ].push_back( bytesOf( bytes ) );
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
      { fmt::format( "{} {:02x}={}", name, reg, hex( bytes ) ), reg, 0, bytes, "" } );
}

Ham::Ham::ResponseId FakeHam::addProcessCall( Register reg, uint16_t value, uint8_t ) {
   addWriting( "PC", reg, &value, 2 );
   batch_.back().written.clear();
   batch_.back().readLength = 2;
   return static_cast< ResponseId >( batch_.size() - 1 );
}

}  // namespace Tests
