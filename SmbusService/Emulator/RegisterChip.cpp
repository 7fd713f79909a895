#include "SmbusService/Emulator/RegisterChip.h"

#include <algorithm>
#include <cmath>

namespace SmbusService::Emulator {

namespace {

constexpr uint8_t kIdleBus = 0xff;  // nobody pulls the line low

uint32_t fieldMask( const Quantity& quantity ) {
   return static_cast< uint32_t >( ( uint64_t{ 1 } << quantity.bits ) - 1 );
}

double nearestTo( double value, const Quantity& quantity ) {
   return std::round( value / quantity.step ) * quantity.step;
}

uint32_t toField( const Quantity& quantity, double value ) {
   auto steps = static_cast< int64_t >( std::round( value / quantity.step ) );
   return static_cast< uint32_t >( steps ) & fieldMask( quantity );
}

double fromField( const Quantity& quantity, uint32_t field ) {
   int64_t steps = field;
   if ( quantity.isSigned && field >> ( quantity.bits - 1 ) ) {
      steps -= int64_t{ 1 } << quantity.bits;
   }
   return static_cast< double >( steps ) * quantity.step;
}

}  // namespace

RegisterChip::RegisterChip( ByteOrder order,
                            std::span< const Register > registers,
                            std::span< const Quantity > quantities )
    : order_( order ),
      registers_( registers ),
      quantities_( quantities ),
      measured_( quantities.size() ) {
   for ( const Register& entry : registers_ ) {
      bytes_[ entry.number ] = entry.bytes;
      writable_[ entry.number ] = entry.writable;
   }
}

void RegisterChip::reset() {
   for ( const Register& entry : registers_ ) {
      values_[ entry.number ] = entry.reset;
   }
   for ( size_t i = 0; i < quantities_.size(); ++i ) {
      if ( measured_[ i ] ) {
         assignField( quantities_[ i ], *measured_[ i ] );
      }
   }
   pointer_ = 0;
   position_ = 0;
}

bool RegisterChip::start( Direction direction ) {
   pointerNext_ = direction == Direction::kWrite;
   position_ = 0;
   moving_ = 0;
   return true;
}

bool RegisterChip::write( uint8_t byte ) {
   if ( pointerNext_ ) {
      pointer_ = byte;
      pointerNext_ = false;
      return true;
   }
   if ( std::string* bytes = block() ) {
      writeBlockByte( *bytes, byte );
      return true;
   }
   size_t last = std::max< size_t >( bytes_[ pointer_ ], 1 ) - 1;
   size_t place = order_ == ByteOrder::kHighFirst ? last - position_ : position_;
   moving_ |= uint32_t{ byte } << 8 * place;
   if ( position_++ == last ) {
      if ( bytes_[ pointer_ ] ) {
         store( pointer_, moving_ );
      }
      pointer_ = following( pointer_ );
      position_ = 0;
      moving_ = 0;
   }
   return true;
}

uint8_t RegisterChip::read() {
   if ( std::string* bytes = block() ) {
      return readBlockByte( *bytes );
   }
   if ( !bytes_[ pointer_ ] ) {
      pointer_ = following( pointer_ );
      return kIdleBus;
   }
   if ( position_ == 0 ) {
      moving_ = fetch( pointer_ );
   }
   size_t last = bytes_[ pointer_ ] - 1u;
   size_t place = order_ == ByteOrder::kHighFirst ? last - position_ : position_;
   if ( position_++ == last ) {
      pointer_ = following( pointer_ );
      position_ = 0;
   }
   return static_cast< uint8_t >( moving_ >> 8 * place );
}

void RegisterChip::store( uint8_t number, uint32_t value ) {
   uint32_t writable = writable_[ number ];
   values_[ number ] = ( values_[ number ] & ~writable ) | ( value & writable );
}

std::string* RegisterChip::block() {
   auto entry = blocks_.find( pointer_ );
   return entry == blocks_.end() ? nullptr : &entry->second;
}

void RegisterChip::writeBlockByte( std::string& block, uint8_t byte ) {
   if ( position_++ == 0 ) {
      blockWritten_.clear();
      moving_ = byte;
   } else {
      blockWritten_ += static_cast< char >( byte );
   }
   if ( blockWritten_.size() == moving_ ) {
      block = blockWritten_;
   }
}

uint8_t RegisterChip::readBlockByte( const std::string& block ) {
   size_t place = position_++;
   if ( place == 0 ) {
      return static_cast< uint8_t >( block.size() );
   }
   return place <= block.size() ? static_cast< uint8_t >( block[ place - 1 ] ) : kIdleBus;
}

std::vector< std::string > RegisterChip::quantities() const {
   std::vector< std::string > names;
   for ( const Quantity& entry : quantities_ ) {
      names.emplace_back( entry.name );
   }
   return names;
}

void RegisterChip::set( std::string_view name, double value ) {
   const Quantity& entry = quantity( name );
   double count = std::ldexp( 1.0, entry.bits - ( entry.isSigned ? 1 : 0 ) );
   checkRange( name, nearestTo( value, entry ), entry.isSigned ? -count * entry.step : 0,
               ( count - 1 ) * entry.step );
   if ( !writable_[ entry.number ] ) {
      measured_[ static_cast< size_t >( &entry - quantities_.data() ) ] = value;
   }
   assignField( entry, value );
}

double RegisterChip::get( std::string_view name ) const {
   const Quantity& entry = quantity( name );
   return fromField( entry, values_[ entry.number ] >> entry.shift & fieldMask( entry ) );
}

const Quantity& RegisterChip::quantity( std::string_view name ) const {
   for ( const Quantity& entry : quantities_ ) {
      if ( entry.name == name ) {
         return entry;
      }
   }
   unknownQuantity( name );
}

void RegisterChip::assignField( const Quantity& quantity, double value ) {
   uint32_t mask = fieldMask( quantity ) << quantity.shift;
   uint32_t field = toField( quantity, value ) << quantity.shift;
   values_[ quantity.number ] = ( values_[ quantity.number ] & ~mask ) | field;
}

}  // namespace SmbusService::Emulator
