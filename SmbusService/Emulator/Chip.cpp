#include "SmbusService/Emulator/Chip.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <stdexcept>

namespace SmbusService::Emulator {

void Chip::set( std::string_view quantity, double ) {
   unknownQuantity( quantity );
}

double Chip::get( std::string_view quantity ) const {
   unknownQuantity( quantity );
}

void Chip::load( std::string_view ) {
   throw std::invalid_argument( "the chip has no memory to fill" );
}

void Chip::describe( std::string_view field, std::string_view ) {
   throw std::invalid_argument( fmt::format( "unknown field '{}'; this chip has none", field ) );
}

void Chip::unknownQuantity( std::string_view name ) const {
   unknownQuantity( name, quantities() );
}

void Chip::unknownQuantity( std::string_view name, const std::vector< std::string >& known ) {
   throw std::invalid_argument(
      known.empty() ? fmt::format( "unknown quantity '{}'; this chip has none", name )
                    : fmt::format( "unknown quantity '{}'; this chip has {}", name,
                                   fmt::join( known, ", " ) ) );
}

void Chip::refuseToSet( std::string_view name ) {
   throw std::invalid_argument( fmt::format( "'{}' can only be read", name ) );
}

void Chip::checkRange( std::string_view name, double value, double low, double high ) {
   if ( !( value >= low && value <= high ) ) {
      throw std::invalid_argument(
         fmt::format( "'{}' can be {} to {} on this chip, not {}", name, low, high, value ) );
   }
}

}  // namespace SmbusService::Emulator
