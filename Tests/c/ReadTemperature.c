/* Reads one temperature, in degrees Celsius. */
#include <dlfcn.h>
#include <stdio.h>

#include "pl.h"

static char topology[ 1 << 20 ];

int main( int argc, char** argv ) {
   if ( argc != 4 ) {
      fprintf( stderr, "usage: %s LIBRARY TOPOLOGY-FILE DEVICE-ARGUMENTS\n", argv[ 0 ] );
      return 2;
   }
   void* library = dlopen( argv[ 1 ], RTLD_NOW );
   if ( !library ) {
      fprintf( stderr, "%s\n", dlerror() );
      return 2;
   }
   FILE* file = fopen( argv[ 2 ], "r" );
   if ( !file || !fread( topology, 1, sizeof topology - 1, file ) ) {
      perror( argv[ 2 ] );
      return 2;
   }
   fclose( file );

   __typeof__( &pl_temp_sensor_init ) init = dlsym( library, "pl_temp_sensor_init" );
   __typeof__( &pl_temp_sensor_add ) add = dlsym( library, "pl_temp_sensor_add" );
   if ( init( topology ) != PL_STATUS_OK ) {
      return 1; /* trace lines on stderr say why */
   }
   pl_temp_sensor* sensor = add( argv[ 3 ], 75, 85 ); /* alert and critical limit */
   float celsius;
   if ( !sensor || sensor->ops->get_temperature( sensor, &celsius ) != PL_STATUS_OK ) {
      return 1;
   }
   printf( "%.3f\n", celsius );
   return 0;
}
