#pragma once

#include <map>
#include <string>

#include "Components/HardwareDevice.h"
#include "Tests/support/FakeHam.h"

namespace Tests {

using DriverArguments = std::map< std::string, std::string >;

// A driver of the registry on a fake HAM, created the way the library creates it, init() included.
// Load the registers that init() reads before.
inline Component::HardwareDevice* createDevice( const std::string& driver,
                                                Ham::Ham& ham,
                                                const DriverArguments& driverArgs = {} ) {
   static uint32_t nextDid = 1000;
   Drivers::DriverArgs args;
   args.driver = driver;
   args.did = nextDid++;
   args.driverArgs = driverArgs;
   return Component::HardwareDevice::create( args, &ham );
}

inline Drivers::DriverArgs argumentsOf( const DriverArguments& driverArgs ) {
   Drivers::DriverArgs args;
   args.driverArgs = driverArgs;
   return args;
}

}  // namespace Tests
