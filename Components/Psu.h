#pragma once

#include "Components/LogicalDevice.h"

namespace Component::LogicalDevice {

// A power supply; amperes, volts, watts. Objects are never destroyed, and the operations begin at
// the first slot of the virtual table: there is no virtual destructor.
class Psu {
 public:
   [[nodiscard]] virtual pl_status get_power_ok( int* ok ) = 0;
   [[nodiscard]] virtual pl_status get_input_current( float* amps ) = 0;
   [[nodiscard]] virtual pl_status get_output_current( float* amps ) = 0;
   [[nodiscard]] virtual pl_status get_input_voltage( float* volts ) = 0;
   [[nodiscard]] virtual pl_status get_output_voltage( float* volts ) = 0;
   [[nodiscard]] virtual pl_status get_input_power( float* watts ) = 0;
   [[nodiscard]] virtual pl_status get_output_power( float* watts ) = 0;

   pl_psu* record() { return record_.get(); }

   static constexpr auto get_power_ok_callback =
      callback< pl_psu, "get_power_ok_callback", &Psu::get_power_ok, TraceBareName >;
   static constexpr auto get_input_current_callback =
      callback< pl_psu, "get_input_current_callback", &Psu::get_input_current, TraceBareName >;
   static constexpr auto get_output_current_callback =
      callback< pl_psu, "get_output_current_callback", &Psu::get_output_current, TraceBareName >;
   static constexpr auto get_input_voltage_callback =
      callback< pl_psu, "get_input_voltage_callback", &Psu::get_input_voltage, TraceBareName >;
   static constexpr auto get_output_voltage_callback =
      callback< pl_psu, "get_output_voltage_callback", &Psu::get_output_voltage, TraceBareName >;
   static constexpr auto get_input_power_callback =
      callback< pl_psu, "get_input_power_callback", &Psu::get_input_power, TraceBareName >;
   static constexpr auto get_output_power_callback =
      callback< pl_psu, "get_output_power_callback", &Psu::get_output_power, TraceBareName >;
   static const pl_psu_ops ops_;

 protected:
   ~Psu() = default;

 private:
   HostRecord< pl_psu > record_{ &ops_, this };
};

}  // namespace Component::LogicalDevice
