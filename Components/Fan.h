#pragma once

#include "pl.h"

namespace Component::LogicalDevice {

// A fan; speeds in revolutions per minute.
class Fan {
 public:
   Fan();
   virtual ~Fan() = default;
   Fan( const Fan& ) = delete;
   Fan& operator=( const Fan& ) = delete;

   // A text for people, allocated with malloc; a fan without one leaves *out untouched.
   virtual pl_status debugInfo( char** out ) const;
   virtual pl_status getRpm( int* rpm ) = 0;
   virtual pl_status setRpm( int rpm ) = 0;

   pl_fan* record() { return &record_; }

   static const pl_fan_ops ops_;
   static pl_status debugInfoCallback( const pl_fan* fan, char** out );
   static pl_status getRpmCallback( pl_fan* fan, int* rpm );
   static pl_status setRpmCallback( pl_fan* fan, int rpm );

 private:
   pl_fan record_;
};

}  // namespace Component::LogicalDevice
