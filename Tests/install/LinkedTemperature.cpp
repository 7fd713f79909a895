// Reads one temperature, in degrees Celsius, with the driver library linked.
#include <exception>
#include <fstream>
#include <iostream>
#include <iterator>
#include <string>

#include "pl.h"

int main( int argc, char** argv ) {
   if ( argc != 3 ) {
      std::cerr << "usage: " << argv[ 0 ] << " TOPOLOGY-FILE DEVICE-ARGUMENTS\n";
      return 2;
   }
   std::ifstream file( argv[ 1 ] );
   std::string topology( std::istreambuf_iterator< char >( file ), {} );
   try {
      float celsius;
      if ( pl_temp_sensor_init( topology.c_str() ) != PL_STATUS_OK ) {
         return 1;  // trace lines on stderr say why
      }
      pl_temp_sensor* sensor = pl_temp_sensor_add( argv[ 2 ], 75, 85 );  // alert and critical limit
      if ( !sensor || sensor->ops->get_temperature( sensor, &celsius ) != PL_STATUS_OK ) {
         return 1;
      }
      std::cout << celsius << "\n";
   } catch ( const std::exception& error ) {  // the driver makes no temperature sensors
      std::cerr << error.what() << "\n";
      return 1;
   }
   return 0;
}
