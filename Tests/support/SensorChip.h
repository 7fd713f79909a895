#pragma once

#include <memory>

#include "Components/TempSensor.h"
#include "Tests/support/FakeDevice.h"

namespace Tests {

using Registers = std::map< uint32_t, std::string >;

constexpr float kUntouched = -1000;  // in an output that must stay as it is

inline DriverArguments channel( const char* text ) {
   return { { "channel", text } };
}

// A chip on a fake HAM with one temperature sensor, used as the host uses it. A TMP46x identifies
// itself as a TMP468 and opens its lock, an IR357x as an IR3570A.
class SensorChip {
 public:
   explicit SensorChip( const std::string& driver,
                        const DriverArguments& driverArgs = {},
                        const Registers& registers = {} ) {
      ham.load( 0xFF, "0468" );
      ham.afterWrite = [ this ]( uint32_t reg ) {
         if ( reg == 0xC4 ) {
            ham.load( reg, "0000" );
         }
      };
      ham.load( 0x9A, "0124" );
      ham.load( 0x9B, "0103" );
      load( registers );
      device = createDevice( driver, ham, driverArgs );
      sensor.reset( device->newTempSensor( argumentsOf( driverArgs ) ) );
      initLog.swap( ham.log );
   }

   void load( const Registers& registers ) {
      for ( const auto& [ reg, bytes ] : registers ) {
         ham.load( reg, bytes );
      }
   }

   pl_status getTemperature( float* celsius ) {
      pl_temp_sensor* record = sensor->record();
      return record->ops->get_temperature( record, celsius );
   }

   template < typename Driver >
   Driver& as() {
      return dynamic_cast< Driver& >( *device );
   }

   FakeHam ham;
   Component::HardwareDevice* device;
   std::unique_ptr< Component::LogicalDevice::TempSensor > sensor;
   std::vector< std::string > initLog;  // the traffic until the sensor was there
};

}  // namespace Tests
