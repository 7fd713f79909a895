#pragma once

#include <fmt/format.h>

#include <memory>
#include <sstream>
#include <string>

#include "Components/TempSensor.h"
#include "Tests/support/FakeDevice.h"

namespace Tests {

constexpr float kUntouched = -1000;  // in an output that must stay as it is

// "channel=1; page=2" as a map.
inline DriverArguments pairsOf( const std::string& text ) {
   DriverArguments pairs;
   std::istringstream items( text );
   for ( std::string item; std::getline( items >> std::ws, item, ';' ); ) {
      size_t equals = item.find( '=' );
      pairs[ item.substr( 0, equals ) ] = item.substr( equals + 1 );
   }
   return pairs;
}

inline std::string joined( const std::vector< std::string >& log ) {
   return fmt::format( "{}", fmt::join( log, "; " ) );
}

// Registers and their bytes, both hexadecimal, as pairs.
inline void loadRegisters( FakeHam& ham, const std::string& registers ) {
   for ( const auto& [ reg, bytes ] : pairsOf( registers ) ) {
      ham.load( static_cast< uint32_t >( std::stoul( reg, nullptr, 16 ) ), bytes );
   }
}

// A chip on a fake HAM with one temperature sensor, used as the host uses it. A TMP46x identifies
// itself as a TMP468 and opens its lock, an IR357x as an IR3570A. Arguments and registers (both
// hexadecimal) are given as pairs: "channel=1", "09=e0; 01=2a". The failing step is of its start.
class SensorChip {
 public:
   explicit SensorChip( const std::string& driver,
                        const std::string& arguments = "",
                        const std::string& registers = "",
                        size_t failingStep = 0 ) {
      ham.fixed = { 0xC4 };
      load( "ff=0468; 9a=0124; 9b=0103" );
      load( registers );
      ham.failNth( failingStep, PL_STATUS_FAILURE );
      device = createDevice( driver, ham, pairsOf( arguments ) );
      sensor.reset( device->newTempSensor( argumentsOf( pairsOf( arguments ) ) ) );
      initLog.swap( ham.log );
   }

   void load( const std::string& registers ) { loadRegisters( ham, registers ); }

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
