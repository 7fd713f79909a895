#pragma once

#include "Components/LogicalDevice.h"
#include "Drivers/Drivers.h"

namespace Component {

class HardwareDevice;

namespace LogicalDevice {

// One bit that the host can read, set and clear.
class Gpio {
 public:
   virtual ~Gpio() = default;

   [[nodiscard]] virtual pl_status bitClear() = 0;
   [[nodiscard]] virtual pl_status bitSet() = 0;
   [[nodiscard]] virtual pl_status bitRead( unsigned int* value ) = 0;  // 0 or 1

   pl_gpio* record() { return record_.get(); }

   static constexpr auto bitSetCallback =
      callback< pl_gpio, "bitSetCallback", &Gpio::bitSet, TraceName< kCallbackLevel > >;
   static constexpr auto bitClearCallback =
      callback< pl_gpio, "bitClearCallback", &Gpio::bitClear, TraceName< kCallbackLevel > >;
   static constexpr auto bitReadCallback =
      callback< pl_gpio, "bitReadCallback", &Gpio::bitRead, TraceName< kCallbackLevel > >;
   static const pl_gpio_ops ops_;

 private:
   HostRecord< pl_gpio > record_{ &ops_, this };
};

// A bit of an 8-bit register behind the device's HAM. Driver arguments "register" and "bitpos",
// both required. Setting and clearing read the register first; that is not atomic against other
// writers.
class RegGpio : public Gpio {
 public:
   RegGpio( HardwareDevice* device, const Drivers::DriverArgs& args );

   [[nodiscard]] pl_status bitClear() override;
   [[nodiscard]] pl_status bitSet() override;
   [[nodiscard]] pl_status bitRead( unsigned int* value ) override;

 protected:
   HardwareDevice* device_;
   // For write-only registers: every other bit is then written as its idle level, 0 by bitSet and
   // 1 by bitClear.
   bool noRead_ = false;

 private:
   [[nodiscard]] pl_status readRegister( uint8_t* byte );
   [[nodiscard]] pl_status writeRegister( uint8_t byte );

   int register_;
   int bitPosition_;
};

}  // namespace LogicalDevice
}  // namespace Component
