#pragma once

#include "Components/LogicalDevice.h"

namespace Component::LogicalDevice {

// Presence of a field-replaceable unit.
class Slot {
 public:
   virtual ~Slot() = default;

   // PL_STATUS_OK with the unit's description in *info, PL_STATUS_ABSENT without one.
   [[nodiscard]] virtual pl_status getPresence( char** info ) = 0;

   pl_slot* record() { return record_.get(); }

   static constexpr auto getPresenceCallback =
      callback< pl_slot, "getPresenceCallback", &Slot::getPresence >;
   static const pl_slot_ops ops_;

 private:
   HostRecord< pl_slot > record_{ &ops_, this };
};

}  // namespace Component::LogicalDevice
