#pragma once

#include <map>
#include <string>
#include <vector>

#include "Components/DeviceBase.h"
#include "pl.h"

namespace Component {

// A device whose logical objects are served by several driver instances: each member is added
// through the kind's own entry point, with the document kept for its role.
class MultiDevice : public DeviceBase {
 public:
   static MultiDevice* create( DriverArgs& args );
   static DeviceBase* findOrCreate( DriverArgs& args );

   void deviceDriverArgsIs( std::map< std::string, std::string > byRole );

   // The role's document, owned by this device; null after a trace when there is none.
   const char* getDeviceDriverArg( std::string role ) const;

   // Each returns the added object, owned as its entry point says, or null.
   pl_slot* addSlot( std::string role );
   pl_led* addLed( std::string role );
   pl_psu* addPsu( std::string role );
   pl_fan* addFan( std::string role );
   pl_xcvr* addXcvr( std::string role );
   pl_gpio* addGpio( std::string role );

 protected:
   // What was added, in order, failures as null.
   std::vector< pl_slot* > slots;
   std::vector< pl_led* > leds;
   std::vector< pl_psu* > psus;
   std::vector< pl_fan* > fans;
   std::vector< pl_xcvr* > xcvrs;
   std::vector< pl_gpio* > gpios;
   std::map< std::string, std::string > deviceDriverArgs;  // by role

 private:
   template < typename Object, typename Trace >
   Object* addMember( const std::string& role,
                      Object* ( *entryPoint )( const char* ),
                      std::vector< Object* >& added,
                      Trace trace );
};

}  // namespace Component
