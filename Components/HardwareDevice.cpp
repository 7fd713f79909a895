#include "Components/HardwareDevice.h"

#include "Components/Gpio.h"
#include "Ham/Ham.h"
#include "Utils/Json.h"
#include "Utils/Simulation.h"
#include "pl.h"

namespace Component {

const Utils::ExpectedValues HardwareDevice::emptyExpectedValues;

namespace {

// The name that distinguishes this instance's simulation file; empty when it has none.
std::string instanceName( const char* jsonText ) {
   if ( !Utils::inSimulation() || !jsonText ) {
      return "";
   }
   Utils::Json::Document document;
   if ( Utils::Json::parse( jsonText, document ) || !document.HasMember( "name" ) ) {
      return "";
   }
   return document[ "name" ].GetString();
}

}  // namespace

LogicalDevice::Gpio* HardwareDevice::newGpio( const DriverArgs& args ) {
   return new LogicalDevice::RegGpio( this, args );
}

HardwareDevice* HardwareDevice::create( DriverArgs& args, Ham::Ham* ham ) {
   return dynamic_cast< HardwareDevice* >( findOrCreate( args, ham ) );
}

DeviceBase* HardwareDevice::findOrCreate( DriverArgs& args, Ham::Ham* ham ) {
   if ( DeviceBase* existing = findDevice( args ) ) {
      return existing;
   }
   if ( !ham && args.provideHam ) {
      pl_trace( 0, "creating Ham" );
      ham = Ham::createHam( args );
      if ( !ham ) {
         pl_trace( 0, "failed to create Ham" );
         return nullptr;
      }
   }
   HardwareDevice* device = construct( args, ham );
   if ( !device ) {
      return nullptr;
   }
   std::string name = instanceName( args.jsonText );
   device->ham_ = ham;
   if ( ham ) {
      ham->setDriverName( args.driver, name );
      ham->setExpected( &device->expectedValues() );
   }
   device->init();
   pl_trace( 0, "%s device created", args.driver.c_str() );
   devices[ args.did ] = device;
   return device;
}

HardwareDevice* HardwareDevice::construct( DriverArgs& args, Ham::Ham* ham ) {
   DeviceBase* made = callDriverFactoryFunc( args, ham );
   if ( !made ) {
      pl_trace( 0, "factory function returned a null object" );
      return nullptr;
   }
   auto device = dynamic_cast< HardwareDevice* >( made );
   if ( !device ) {
      pl_trace( 0, "driver %s makes a MultiDevice; \"isMultiDevice\" must be true",
                args.driver.c_str() );
      delete made;
   }
   return device;
}

}  // namespace Component
