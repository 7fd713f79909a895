#pragma once

#include "Components/LogicalDevice.h"

namespace Component::LogicalDevice {

// A fan; speeds in revolutions per minute.
class Fan {
 public:
   virtual ~Fan() = default;

   // A text for people, allocated with malloc; a fan without one leaves *out untouched.
   [[nodiscard]] virtual pl_status debugInfo( char** out ) const;
   [[nodiscard]] virtual pl_status getRpm( int* rpm ) = 0;
   [[nodiscard]] virtual pl_status setRpm( int rpm ) = 0;

   pl_fan* record() { return record_.get(); }

   static constexpr auto debugInfoCallback =
      callback< const pl_fan, "debugInfoCallback", &Fan::debugInfo >;
   static constexpr auto getRpmCallback = callback< pl_fan, "getRpmCallback", &Fan::getRpm >;
   static constexpr auto setRpmCallback =
      callback< pl_fan, "setRpmCallback", &Fan::setRpm, TraceValue >;
   static const pl_fan_ops ops_;

 private:
   HostRecord< pl_fan > record_{ &ops_, this };
};

}  // namespace Component::LogicalDevice
