#include "Tests/support/FakeHam.h"

#include <gtest/gtest.h>

namespace Tests {

namespace {

std::string word( uint16_t value ) {
   return { static_cast< char >( value & 0xFF ), static_cast< char >( value >> 8 ) };
}

std::string registerName( uint32_t reg ) {
   char text[ 9 ];
   snprintf( text, sizeof text, "%02x", reg );
   return text;
}

}  // namespace

std::string toHex( const std::string& bytes ) {
   std::string digits;
   for ( char byte : bytes ) {
      digits += registerName( static_cast< uint8_t >( byte ) );
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

void FakeHam::load( uint32_t reg, const std::string& hexBytes ) {
   registers_[ reg ] = fromHex( hexBytes );
}

void FakeHam::prepare() {
   batch_.clear();
}

pl_status FakeHam::execute() {
   ++batches;
   pl_status status = PL_STATUS_OK;
   for ( Transaction& transaction : batch_ ) {
      log.push_back( transaction.line );
      if ( log.size() == failingStep_ ) {
         return stepFailure_;
      }
      for ( const auto& [ prefix, failure ] : failures_ ) {
         if ( transaction.line.starts_with( prefix ) ) {
            status = failure;
         }
      }
      if ( status != PL_STATUS_OK ) {
         return status;
      }
      if ( transaction.isWrite ) {
         registers_[ transaction.reg ] = transaction.written;
         if ( afterWrite ) {
            afterWrite( transaction.reg );
         }
      } else {
         transaction.answer = stored( transaction.reg, transaction.readLength );
      }
   }
   return status;
}

// Registers that no test loaded read as zero.
std::string FakeHam::stored( uint32_t reg, size_t length ) const {
   auto it = registers_.find( reg );
   std::string bytes = it == registers_.end() ? std::string() : it->second;
   if ( length != kWholeRegister ) {
      bytes.resize( length, '\0' );
   }
   return bytes;
}

Ham::Ham::ResponseId FakeHam::addReading( const std::string& name, Register reg, size_t length ) {
   batch_.push_back( { name + " " + registerName( reg ), reg, false, "", length, "" } );
   return static_cast< ResponseId >( batch_.size() - 1 );
}

void FakeHam::addWriting( const std::string& name, Register reg, std::string bytes ) {
   std::string line = name + " " + registerName( reg ) + "=" + toHex( bytes );
   batch_.push_back( { line, reg, true, std::move( bytes ), 0, "" } );
}

Ham::Ham::ResponseId FakeHam::addRecvByte() {
   return addReading( "Q", 0, 1 );
}
Ham::Ham::ResponseId FakeHam::addRead8( Register reg, uint8_t ) {
   return addReading( "R8", reg, 1 );
}
Ham::Ham::ResponseId FakeHam::addRead16( Register reg, uint8_t ) {
   return addReading( "R16", reg, 2 );
}
Ham::Ham::ResponseId FakeHam::addRead( Register reg, uint32_t length, bool, uint8_t ) {
   return addReading( "R" + std::to_string( length ), reg, length );
}
Ham::Ham::ResponseId FakeHam::addReadBlock( Register reg, uint8_t ) {
   return addReading( "RB", reg, kWholeRegister );
}
void FakeHam::addSendByte( uint8_t value, bool ) {
   batch_.push_back( { "S " + registerName( value ), value, false, "", 0, "" } );
}
void FakeHam::addWrite8( Register reg, uint8_t value, bool, uint8_t ) {
   addWriting( "W8", reg, std::string( 1, static_cast< char >( value ) ) );
}
void FakeHam::addWrite16( Register reg, uint16_t value, bool, uint8_t ) {
   addWriting( "W16", reg, word( value ) );
}
void FakeHam::addWrite( Register reg, const void* data, uint32_t length, bool, uint8_t ) {
   addWriting( "W" + std::to_string( length ), reg,
               std::string( static_cast< const char* >( data ), length ) );
}
void FakeHam::addWriteBlock( Register reg, const void* data, uint32_t length, bool, uint8_t ) {
   addWriting( "WB", reg, std::string( static_cast< const char* >( data ), length ) );
}
Ham::Ham::ResponseId FakeHam::addProcessCall( Register reg, uint16_t value, uint8_t ) {
   batch_.push_back(
      { "PC " + registerName( reg ) + "=" + toHex( word( value ) ), reg, false, "", 2, "" } );
   return static_cast< ResponseId >( batch_.size() - 1 );
}

uint8_t FakeHam::get8( ResponseId id ) {
   return static_cast< uint8_t >( batch_.at( id ).answer.at( 0 ) );
}
uint16_t FakeHam::get16( ResponseId id ) {
   const std::string& bytes = batch_.at( id ).answer;
   return static_cast< uint16_t >( static_cast< uint8_t >( bytes.at( 0 ) ) |
                                   static_cast< uint8_t >( bytes.at( 1 ) ) << 8 );
}
std::string FakeHam::getBlock( ResponseId id, uint32_t ) {
   return batch_.at( id ).answer;
}

}  // namespace Tests
