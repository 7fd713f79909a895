#include "SmbusService/Emulator/Chips/LiveChip.h"

#include <algorithm>
#include <cmath>

namespace SmbusService::Emulator {

std::vector< std::string > LiveChip::quantities() const {
   std::vector< std::string > names;
   for ( const LiveQuantity& quantity : live_ ) {
      names.push_back( quantity.name );
   }
   return names;
}

void LiveChip::set( std::string_view quantity, double value ) {
   const LiveQuantity& live = named( quantity );
   if ( !live.set ) {
      refuseToSet( quantity );
   }
   checkRange( quantity, value, live.low, live.high );
   live.set( static_cast< uint32_t >( std::lround( value ) ) );
}

double LiveChip::get( std::string_view quantity ) const {
   return named( quantity ).get();
}

LiveQuantity LiveChip::onOff( std::string name, bool& isOn ) {
   return { .name = std::move( name ),
            .get = [ &isOn ] { return isOn; },
            .set = [ &isOn ]( bool value ) { isOn = value; } };
}

LiveQuantity LiveChip::led( std::string name, uint8_t number, uint8_t bit ) const {
   return { .name = std::move( name ),
            .get = [ this, number, bit ] { return ~value( number ) >> bit & 1; } };
}

const LiveQuantity& LiveChip::named( std::string_view quantity ) const {
   auto live = std::ranges::find( live_, quantity, &LiveQuantity::name );
   if ( live == live_.end() ) {
      unknownQuantity( quantity );
   }
   return *live;
}

}  // namespace SmbusService::Emulator
