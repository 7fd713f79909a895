#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>

#include "Topology/HamAddress.h"
#include "Utils/Assert.h"
#include "Utils/Json.h"
#include "Utils/Numbers.h"

namespace Component {
class DeviceBase;
}
namespace Ham {
class Ham;
}

namespace Drivers {

// One device's arguments, parsed from the document that an add entry point receives or from a
// device of the topology.
struct DriverArgs {
   using Value = Utils::Json::Value;

   static constexpr uint32_t kNoUid = 0xFFFFFFFF;

   // Fills the record from one JSON document; false, after a trace, when the text is not valid
   // JSON. The text is kept by pointer and must outlive the record's use. A document of the wrong
   // shape is an assertion.
   bool parseJSON( const char* text );
   void parseJSON( const Value& json );
   static std::shared_ptr< DriverArgs > fromJSON( const Value& json );

   std::string driver;  // registry name; empty when the document says null
   uint32_t uid = 0;    // component of the topology, or kNoUid
   uint32_t did = 0;    // device of the topology
   HamAddress address;
   std::map< std::string, std::string > driverArgs;  // driver-specific settings, as text
   const char* jsonText = nullptr;                   // the caller's; null for a topology's device
   bool isMultiDevice = false;
   std::map< std::string, std::string > multiDeviceArgs;  // role to device-arguments document
   bool provideHam = false;
};

using FactoryArgs = DriverArgs;
using DriverFactory = std::function< Component::DeviceBase*( const DriverArgs&, Ham::Ham* ) >;

// Every driver by its registry name; complete before any entry point runs.
extern std::map< std::string, DriverFactory > drivers;

}  // namespace Drivers
