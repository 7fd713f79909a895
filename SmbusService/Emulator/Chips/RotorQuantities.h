#pragma once

#include <cmath>

#include "SmbusService/Emulator/Chips/LiveChip.h"
#include "SmbusService/Emulator/Chips/Rotor.h"

// What every model of a fan tells of its rotors.
namespace SmbusService::Emulator {

inline LiveQuantity blocking( std::string name, Rotor& rotor ) {
   return { .name = std::move( name ),
            .get = [ &rotor ] { return rotor.isBlocked(); },
            .set = [ &rotor ]( bool is ) { rotor.setBlocked( is, Rotor::Clock::now() ); } };
}

inline LiveQuantity speed( std::string name, const Rotor& rotor ) {
   return { .name = std::move( name ),
            .get = [ &rotor ] { return std::round( rotor.rpm( Rotor::Clock::now() ) ); } };
}

inline LiveQuantity duty( std::string name, const Rotor& rotor ) {
   return { .name = std::move( name ), .get = [ &rotor ] { return rotor.duty(); } };
}

inline LiveQuantity rpmLimit( std::string name,
                              std::function< double() > get,
                              std::function< void( uint32_t ) > set ) {
   return { .name = std::move( name ),
            .get = std::move( get ),
            .set = std::move( set ),
            .low = 100,
            .high = 60'000 };
}

}  // namespace SmbusService::Emulator
