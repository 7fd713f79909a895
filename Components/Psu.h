#pragma once

#include "pl.h"

namespace Component::LogicalDevice {

// A power supply; amperes, volts, watts. Objects are never destroyed, and the operations begin at
// the first slot of the virtual table: there is no virtual destructor.
class Psu {
 public:
   Psu();
   Psu( const Psu& ) = delete;
   Psu& operator=( const Psu& ) = delete;

   virtual pl_status get_power_ok( int* ok ) = 0;
   virtual pl_status get_input_current( float* amps ) = 0;
   virtual pl_status get_output_current( float* amps ) = 0;
   virtual pl_status get_input_voltage( float* volts ) = 0;
   virtual pl_status get_output_voltage( float* volts ) = 0;
   virtual pl_status get_input_power( float* watts ) = 0;
   virtual pl_status get_output_power( float* watts ) = 0;

   pl_psu* record() { return &record_; }

   static const pl_psu_ops ops_;
   static pl_status get_power_ok_callback( pl_psu* psu, int* ok );
   static pl_status get_input_current_callback( pl_psu* psu, float* amps );
   static pl_status get_output_current_callback( pl_psu* psu, float* amps );
   static pl_status get_input_voltage_callback( pl_psu* psu, float* volts );
   static pl_status get_output_voltage_callback( pl_psu* psu, float* volts );
   static pl_status get_input_power_callback( pl_psu* psu, float* watts );
   static pl_status get_output_power_callback( pl_psu* psu, float* watts );

 protected:
   ~Psu() = default;

 private:
   pl_psu record_;
};

}  // namespace Component::LogicalDevice
