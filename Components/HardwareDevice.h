#pragma once

#include "Components/DeviceBase.h"
#include "Utils/ExpectedVal.h"

namespace Component {

// A driver instance bound to the HAM that reaches its chip's registers.
class HardwareDevice : public DeviceBase {
 public:
   LogicalDevice::Gpio* newGpio( const DriverArgs& args ) override;

   // The registers that the simulation serves, with their initial contents. The map must live as
   // long as the device.
   virtual const Utils::ExpectedValues& expectedValues() { return emptyExpectedValues; }

   // To use registers without a HAM ("provideHam": 0, or during the driver's factory) is an
   // assertion.
   Ham::Ham* ham() const {
      LUMEN_ASSERT( ham_ );
      return ham_;
   }

   // The device of the arguments, found by its device id or created with `ham`; without one, a HAM
   // is made from the topology. Null after a trace.
   static HardwareDevice* create( DriverArgs& args, Ham::Ham* ham );

   // The same; what is found may be a multi-device.
   static DeviceBase* findOrCreate( DriverArgs& args, Ham::Ham* ham );

   static const Utils::ExpectedValues emptyExpectedValues;

 protected:
   // For a driver that is built by another one instead of the registry.
   void hamIs( Ham::Ham* ham ) { ham_ = ham; }

 private:
   static HardwareDevice* construct( DriverArgs& args, Ham::Ham* ham );

   Ham::Ham* ham_ = nullptr;
};

}  // namespace Component
