#include "Host/Commands/SmbusOperation.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <charconv>
#include <functional>
#include <iterator>

#include "Host/Session/UseError.h"
#include "Utils/Nearest.h"

namespace Host {

namespace {

constexpr uint32_t kByte = 0xFF;
constexpr uint32_t kWord = 0xFFFF;
constexpr size_t kLongestBlock = 255;

// The numbers of a command line: the register where there is one, then the rest.
using Numbers = std::vector< uint32_t >;
using Bytes = std::vector< uint8_t >;

uint32_t parse( const std::string& text, uint32_t largest ) {
   bool hexadecimal = text.starts_with( "0x" ) || text.starts_with( "0X" );
   const char* begin = text.data() + ( hexadecimal ? 2 : 0 );
   const char* end = text.data() + text.size();
   uint32_t number = 0;
   auto [ last, error ] = std::from_chars( begin, end, number, hexadecimal ? 16 : 10 );
   if ( error != std::errc() || last != end || number > largest ) {
      throw UseError( fmt::format( "\"{}\" is no number from 0 to {}", text, largest ) );
   }
   return number;
}

Bytes bytesFrom( const Numbers& numbers, size_t first ) {
   return Bytes( numbers.begin() + static_cast< ptrdiff_t >( first ), numbers.end() );
}

std::string textOf( const Bytes& bytes ) {
   return { bytes.begin(), bytes.end() };
}

std::string textOf( uint16_t word ) {
   return textOf( Bytes{ static_cast< uint8_t >( word ), static_cast< uint8_t >( word >> 8 ) } );
}

struct Call {
   const pl_smbus_ops& ops;
   pl_smbus* smbus;
   uint8_t size;            // of a register number
   const Numbers& numbers;  // the arguments
   std::string& answer;

   uint32_t reg() const { return numbers[ 0 ]; }

   pl_status receiveByte() const {
      uint8_t byte = 0;
      pl_status status = ops.receive_byte( smbus, &byte );
      answer = textOf( Bytes{ byte } );
      return status;
   }
   pl_status sendByte() const {
      return ops.send_byte( smbus, static_cast< uint8_t >( numbers[ 0 ] ) );
   }
   pl_status readByte() const {
      uint8_t byte = 0;
      pl_status status = ops.read_byte( smbus, reg(), size, &byte );
      answer = textOf( Bytes{ byte } );
      return status;
   }
   pl_status writeByte() const {
      return ops.write_byte( smbus, reg(), size, static_cast< uint8_t >( numbers[ 1 ] ) );
   }
   pl_status readWord() const {
      uint16_t word = 0;
      pl_status status = ops.read_word( smbus, reg(), size, &word );
      answer = textOf( word );
      return status;
   }
   pl_status writeWord() const {
      return ops.write_word( smbus, reg(), size, static_cast< uint16_t >( numbers[ 1 ] ) );
   }
   pl_status processCall() const {
      uint16_t word = 0;
      pl_status status =
         ops.process_call( smbus, reg(), size, static_cast< uint16_t >( numbers[ 1 ] ), &word );
      answer = textOf( word );
      return status;
   }
   // The endpoint does not bound the block; a service's reply does.
   pl_status blockRead() const {
      Bytes block( 1024 * 1024 );
      uint32_t length = 0;
      pl_status status = ops.block_read( smbus, reg(), size, block.data(), &length );
      block.resize( length );
      answer = textOf( block );
      return status;
   }
   pl_status blockWrite() const {
      Bytes bytes = bytesFrom( numbers, 1 );
      return ops.block_write( smbus, reg(), size, bytes.data(),
                              static_cast< uint32_t >( bytes.size() ) );
   }
   pl_status i2cRead() const {
      Bytes block( numbers[ 1 ] );
      pl_status status = ops.i2c_block_read( smbus, reg(), size, block.data(), numbers[ 1 ] );
      answer = textOf( block );
      return status;
   }
   pl_status i2cWrite() const {
      Bytes bytes = bytesFrom( numbers, 1 );
      return ops.i2c_block_write( smbus, reg(), size, bytes.data(),
                                  static_cast< uint32_t >( bytes.size() ) );
   }
};

enum class Rest { None, Byte, Word, Length, ManyBytes };  // what follows the register

enum class Direction { Read, Write };

struct Operation {
   const char* name;
   const char* arguments;
   bool hasRegister;
   Rest rest;
   Direction direction;  // a process call can write
   pl_status ( Call::*run )() const;
   Answer answer = Answer::Bytes;
};

constexpr Operation kOperations[] = {
   { "receive-byte", "", false, Rest::None, Direction::Read, &Call::receiveByte },
   { "send-byte", "BYTE", false, Rest::Byte, Direction::Write, &Call::sendByte },
   { "read-byte", "REG", true, Rest::None, Direction::Read, &Call::readByte },
   { "write-byte", "REG BYTE", true, Rest::Byte, Direction::Write, &Call::writeByte },
   { "read-word", "REG", true, Rest::None, Direction::Read, &Call::readWord, Answer::Word },
   { "write-word", "REG WORD", true, Rest::Word, Direction::Write, &Call::writeWord },
   { "process-call", "REG WORD", true, Rest::Word, Direction::Write, &Call::processCall,
     Answer::Word },
   { "block-read", "REG", true, Rest::None, Direction::Read, &Call::blockRead },
   { "block-write", "REG BYTE...", true, Rest::ManyBytes, Direction::Write, &Call::blockWrite },
   { "i2c-read", "REG LENGTH", true, Rest::Length, Direction::Read, &Call::i2cRead },
   { "i2c-write", "REG BYTE...", true, Rest::ManyBytes, Direction::Write, &Call::i2cWrite },
};

std::string synopsis( const Operation& operation ) {
   return fmt::format( "{}{}{}", operation.name, *operation.arguments ? " " : "",
                       operation.arguments );
}

std::vector< std::string > operationNames() {
   std::vector< std::string > names;
   std::ranges::transform( kOperations, std::back_inserter( names ), &Operation::name );
   return names;
}

const Operation& find( const std::string& name ) {
   auto operation = std::ranges::find( kOperations, name, &Operation::name );
   if ( operation == std::end( kOperations ) ) {
      auto names = operationNames();
      throw UseError( fmt::format( "there is no SMBus operation \"{}\"; there are {}{}", name,
                                   fmt::join( names, ", " ), Utils::didYouMean( name, names ) ) );
   }
   return *operation;
}

uint32_t largestRegister( unsigned size ) {
   return size == 1 ? kByte : size == 2 ? kWord : UINT32_MAX;
}

uint32_t largestRest( Rest rest ) {
   switch ( rest ) {
      case Rest::Word:
         return kWord;
      case Rest::Length:
         return 64 * 1024;
      default:
         return kByte;
   }
}

Numbers numbersOf( const Operation& operation, const SmbusOperation& given ) {
   const auto& texts = given.arguments;
   size_t fixed = ( operation.hasRegister ? 1 : 0 ) + ( operation.rest != Rest::None ? 1 : 0 );
   bool open = operation.rest == Rest::ManyBytes;
   if ( texts.size() < fixed || ( !open && texts.size() > fixed ) ||
        texts.size() > kLongestBlock + 1 ) {
      throw UseError( "use: smbus NAME " + synopsis( operation ) );
   }
   Numbers numbers;
   for ( const std::string& text : texts ) {
      bool isRegister = operation.hasRegister && numbers.empty();
      numbers.push_back( parse( text, isRegister ? largestRegister( given.registerSize )
                                                 : largestRest( operation.rest ) ) );
   }
   if ( operation.rest == Rest::Length && numbers.back() == 0 ) {
      throw UseError( "LENGTH must be at least 1" );
   }
   return numbers;
}

}  // namespace

std::string smbusOperationsHelp() {
   std::string text;
   for ( const Operation& operation : kOperations ) {
      text += "  " + synopsis( operation ) + "\n";
   }
   return text;
}

std::string smbusOperationNames() {
   return fmt::format( "{}", fmt::join( operationNames(), "|" ) );
}

void checkSmbusOperation( const SmbusOperation& operation ) {
   numbersOf( find( operation.name ), operation );
}

Answer answerOf( const SmbusOperation& operation ) {
   return find( operation.name ).answer;
}

bool isWrite( const SmbusOperation& operation ) {
   return find( operation.name ).direction == Direction::Write;
}

Reading runSmbusOperation( pl_smbus* smbus, const SmbusOperation& given ) {
   const Operation& operation = find( given.name );
   Numbers numbers = numbersOf( operation, given );
   Reading reading;
   Call call{ *smbus->ops, smbus, static_cast< uint8_t >( given.registerSize ), numbers,
              reading.text };
   reading.status = ( call.*operation.run )();
   return reading.status == PL_STATUS_OK ? reading : Reading{ .status = reading.status };
}

}  // namespace Host
