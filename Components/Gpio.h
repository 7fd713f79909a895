#pragma once

#include "Drivers/Drivers.h"
#include "pl.h"

namespace Component {

class HardwareDevice;

namespace LogicalDevice {

// One bit that the host can read, set and clear.
class Gpio {
 public:
   Gpio();
   virtual ~Gpio() = default;
   Gpio( const Gpio& ) = delete;
   Gpio& operator=( const Gpio& ) = delete;

   virtual pl_status bitClear() = 0;
   virtual pl_status bitSet() = 0;
   virtual pl_status bitRead( unsigned int* value ) = 0;  // 0 or 1

   pl_gpio* record() { return &record_; }

   static const pl_gpio_ops ops_;
   static pl_status bitSetCallback( pl_gpio* gpio );
   static pl_status bitClearCallback( pl_gpio* gpio );
   static pl_status bitReadCallback( pl_gpio* gpio, unsigned int* value );

 private:
   pl_gpio record_;
};

// A bit of an 8-bit register behind the device's HAM. Driver arguments "register" and "bitpos",
// both required. Setting and clearing read the register first; that is not atomic against other
// writers.
class RegGpio : public Gpio {
 public:
   RegGpio( HardwareDevice* device, const Drivers::DriverArgs& args );

   pl_status bitClear() override;
   pl_status bitSet() override;
   pl_status bitRead( unsigned int* value ) override;

 protected:
   HardwareDevice* device_;
   // For write-only registers: every other bit is then written as its idle level, 0 by bitSet and
   // 1 by bitClear.
   bool noRead_ = false;

 private:
   pl_status readRegister( uint8_t* byte );
   pl_status writeRegister( uint8_t byte );

   int register_;
   int bitPosition_;
};

}  // namespace LogicalDevice
}  // namespace Component
