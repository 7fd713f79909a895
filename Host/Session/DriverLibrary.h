#pragma once

#include <string>

#include "BoardFiles/Kind.h"
#include "pl.h"

namespace Host {

using namespace BoardFiles;

// The driver library's entry points, bound at run time. The library stays loaded.
struct Library {
   std::array< pl_status ( * )( const char* ), kKinds.size() > init;  // by Kind

   decltype( &pl_system_add ) addSystem;
   decltype( &pl_slot_add ) addSlot;
   decltype( &pl_led_add ) addLed;
   decltype( &pl_poe_port_add ) addPoePort;
   decltype( &pl_temp_sensor_add ) addTempSensor;
   decltype( &pl_fan_add ) addFan;
   decltype( &pl_xcvr_add ) addXcvr;
   decltype( &pl_psu_add ) addPsu;
   decltype( &pl_gpio_add ) addGpio;
   decltype( &pl_smbus_add ) addSmbus;
};

// Loads the library at `path`, or, when that is empty, the one installed beside this program, or
// the one the dynamic linker finds. Throws StartError.
Library loadLibrary( const std::string& path );

}  // namespace Host
