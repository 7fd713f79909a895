#pragma once

#include <cstdint>
#include <map>

#include "Drivers/Drivers.h"

namespace Component {

namespace LogicalDevice {
class CmisXcvr;
class Fan;
class Gpio;
class Led;
class Mux;
class PoePort;
class Psu;
class QsfpXcvr;
class SfpXcvr;
class Slot;
class SmbusProxy;
class TempSensor;
}  // namespace LogicalDevice

// One driver instance. Devices are created once per device id and live until the process ends.
class DeviceBase {
 public:
   using DriverArgs = Drivers::DriverArgs;

   // Start-up work, once, before the device is used.
   virtual void init() {}

   // Each makes a logical device, or returns null: what it is about is not there (errno is ENODEV)
   // or cannot be read. Those that a driver does not provide throw NotImplementedException. The
   // numbers are a transceiver's port id and what selects a mux's channel.
   virtual LogicalDevice::PoePort* newPoePort( const DriverArgs& ) { refuse( "newPoePort" ); }
   virtual LogicalDevice::TempSensor* newTempSensor( const DriverArgs& ) {
      refuse( "newTempSensor" );
   }
   virtual LogicalDevice::Slot* newSlot( const DriverArgs& ) { refuse( "newSlot" ); }
   virtual LogicalDevice::SfpXcvr* newSfpXcvr( unsigned int, const DriverArgs& ) {
      refuse( "newSfpXcvr" );
   }
   virtual LogicalDevice::QsfpXcvr* newQsfpXcvr( unsigned int, const DriverArgs& ) {
      refuse( "newQsfpXcvr" );
   }
   virtual LogicalDevice::CmisXcvr* newCmisXcvr( unsigned int, const DriverArgs& ) {
      refuse( "newCmisXcvr" );
   }
   virtual LogicalDevice::Led* newLed( const DriverArgs& ) { refuse( "newLed" ); }
   virtual LogicalDevice::Fan* newFan( const DriverArgs& ) { refuse( "newFan" ); }
   virtual LogicalDevice::Mux* newMux( const DriverArgs&, unsigned int ) { refuse( "newMux" ); }
   virtual LogicalDevice::Psu* newPsu( const DriverArgs& ) { refuse( "newPsu" ); }
   virtual LogicalDevice::SmbusProxy* newSmbusProxy( const DriverArgs& ) {
      refuse( "newSmbusProxy" );
   }

   virtual ~DeviceBase() = default;

   virtual LogicalDevice::Gpio* newGpio( const DriverArgs& ) { refuse( "newGpio" ); }

   DeviceBase() = default;
   DeviceBase( const DeviceBase& ) = delete;
   DeviceBase& operator=( const DeviceBase& ) = delete;

   // The device that the document asks for, found by its device id or created; `args` is filled
   // from the text. Null after a trace.
   static DeviceBase* create( const char* json, DriverArgs& args );

   static DeviceBase* findDevice( DriverArgs& args );
   static DeviceBase* callDriverFactoryFunc( DriverArgs& args, Ham::Ham* ham );

 private:
   [[noreturn]] static void refuse( const char* operation );

 protected:
   static std::map< uint32_t, DeviceBase* > devices;  // by device id
};

}  // namespace Component
