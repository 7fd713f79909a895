#pragma once

#include "pl.h"

namespace Component::LogicalDevice {

// Presence of a field-replaceable unit.
class Slot {
 public:
   Slot();
   virtual ~Slot() = default;
   Slot( const Slot& ) = delete;
   Slot& operator=( const Slot& ) = delete;

   // PL_STATUS_OK with the unit's description in *info, PL_STATUS_ABSENT without one.
   virtual pl_status getPresence( char** info ) = 0;

   pl_slot* record() { return &record_; }

   static const pl_slot_ops ops_;
   static pl_status getPresenceCallback( pl_slot* slot, char** info );

 private:
   pl_slot record_;
};

}  // namespace Component::LogicalDevice
