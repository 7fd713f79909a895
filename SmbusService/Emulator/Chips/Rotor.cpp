#include "SmbusService/Emulator/Chips/Rotor.h"

#include <cmath>

namespace SmbusService::Emulator {

void Rotor::setRange( double minRpm, double maxRpm ) {
   minRpm_ = minRpm;
   maxRpm_ = maxRpm;
}

void Rotor::reset() {
   duty_ = kFullDuty;
   since_ = {};
}

void Rotor::setDuty( uint8_t duty, Clock::time_point now ) {
   if ( duty != duty_ ) {
      follow( rpm( now ), now );
      duty_ = duty;
   }
}

void Rotor::setBlocked( bool isBlocked, Clock::time_point now ) {
   if ( isBlocked != isBlocked_ ) {
      follow( 0, now );
      isBlocked_ = isBlocked;
   }
}

void Rotor::follow( double fromRpm, Clock::time_point now ) {
   fromRpm_ = fromRpm;
   since_ = now;
}

double Rotor::rpm( Clock::time_point now ) const {
   if ( isBlocked_ || !isMounted_ ) {
      return 0;
   }
   double target = minRpm_ + ( maxRpm_ - minRpm_ ) * duty_ / kFullDuty;
   auto elapsed = now - since_;
   if ( elapsed >= kSettling ) {
      return target;
   }
   double lags = std::chrono::duration< double >( elapsed ) / kLag;
   return target + ( fromRpm_ - target ) * std::exp( -lags );
}

}  // namespace SmbusService::Emulator
