/* Reads one temperature, in degrees Celsius, of a sensor that may be dead or missing. */
#include <errno.h>
#include <stdio.h>
#include <string.h>

#include "pl.h"
#include "pl_host.h"

struct wanted {
   const char* arguments;
   pl_temp_sensor* sensor;
};

static char topology[ 1 << 20 ];

static int make( void* user ) {
   struct wanted* wanted = user;
   wanted->sensor = pl_temp_sensor_add( wanted->arguments, 75, 85 );
   return wanted->sensor ? 0 : errno ? errno : EIO;
}

/* Makes it in a child first. */
static int make_safely( struct wanted* wanted ) {
   struct pl_trial trial;
   if ( pl_try( make, wanted, 10000, &trial ) < 0 ) {
      perror( "no trial" );
      return -1;
   }
   switch ( trial.ended ) {
      case PL_TRIAL_RETURNED:
         break;
      case PL_TRIAL_KILLED:
         fprintf( stderr, "the sensor kills its host: %s\n", strsignal( trial.signal ) );
         return -1;
      default:
         fprintf( stderr, "the sensor hangs its host, or ends it\n" );
         return -1;
   }
   if ( trial.status != 0 ) {
      fprintf( stderr, "no sensor: %s\n", strerror( trial.status ) );
      return -1;
   }
   return make( wanted ); /* what the child has made ended with it */
}

int main( int argc, char** argv ) {
   FILE* file = argc == 3 ? fopen( argv[ 1 ], "r" ) : NULL;
   if ( !file || !fread( topology, 1, sizeof topology - 1, file ) ) {
      fprintf( stderr, "usage: %s TOPOLOGY-FILE DEVICE-ARGUMENTS\n", argv[ 0 ] );
      return 2;
   }
   fclose( file );

   struct wanted wanted = { .arguments = argv[ 2 ] };
   float celsius;
   if ( pl_temp_sensor_init( topology ) != PL_STATUS_OK || make_safely( &wanted ) != 0 ||
        wanted.sensor->ops->get_temperature( wanted.sensor, &celsius ) != PL_STATUS_OK ) {
      return 1;
   }
   printf( "%.3f\n", celsius );
   return 0;
}
