// A driver library without chips. What an object does is the driver name in its device arguments;
// names that begin with "read-" take effect when the object is read.

#include <unistd.h>

#include <cmath>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>
#include <string>

#include "pl.h"

namespace {

constexpr int kTickMs = 5;

struct Sensor {
   pl_temp_sensor record;
   std::string driver;
   void* timer = nullptr;
   int ticks = 0;
};

std::string driverOf( const std::string& arguments ) {
   const std::string key = "\"driver\":\"";
   size_t begin = arguments.find( key );
   if ( begin == std::string::npos ) {
      return "";
   }
   begin += key.size();
   return arguments.substr( begin, arguments.find( '"', begin ) - begin );
}

void failingRequest() {
   pl_trace( 3,
             "execute: failure in response request 1 of 2: read 2 bytes, device 0x48, bus 1: "
             "no acknowledge" );
   pl_trace( 0, "Error: Failed to read temperature for Fake device" );
}

void misbehave( const std::string& how ) {
   if ( how == "abort" ) {
      failingRequest();
      fprintf( stderr, "Drivers/Fake.cpp:7: void Fake::init(): Assertion `chip' failed.\n" );
      abort();
   }
   if ( how == "throw" ) {
      throw std::invalid_argument( "stof" );
   }
   if ( how == "throw-number" ) {
      throw 7;
   }
   if ( how == "hang" ) {
      while ( true ) {
         pl_trace( 0, "still busy" );
         usleep( 1000 );
      }
   }
   if ( how == "kill" ) {
      raise( SIGKILL );
   }
   if ( how == "exit" ) {
      printf( "nothing to do here\n" );
      exit( 3 );
   }
}

pl_status getTemperature( pl_temp_sensor* record, float* celsius ) {
   auto sensor = static_cast< Sensor* >( record->priv );
   if ( sensor->driver.starts_with( "read-" ) ) {
      misbehave( sensor->driver.substr( 5 ) );
   }
   if ( sensor->driver == "status4" ) {
      pl_trace( 3, "execute: error. 104, Connection reset by peer" );
      return PL_STATUS_IO_ERROR;
   }
   if ( sensor->driver.starts_with( "status" ) ) {
      failingRequest();
      return std::stoi( sensor->driver.substr( 6 ) );
   }
   *celsius = sensor->driver == "process" ? static_cast< float >( getpid() )
              : sensor->driver == "ticks" ? static_cast< float >( sensor->ticks )
                                          : std::stof( sensor->driver );
   return PL_STATUS_OK;
}

constexpr pl_temp_sensor_ops kTemperatureOps = {
   .size = sizeof( pl_temp_sensor_ops ), .unused = nullptr, .get_temperature = getTemperature };

void tick( void* user ) {
   auto sensor = static_cast< Sensor* >( user );
   ++sensor->ticks;
   pl_timer_set( sensor->timer, kTickMs );
}

pl_status init( const char* topology ) {
   std::string text( topology );
   misbehave( text );
   return text == "refuse" ? PL_STATUS_IO_ERROR : PL_STATUS_OK;
}

}  // namespace

pl_temp_sensor* pl_temp_sensor_add( const char* arguments, float, float ) {
   auto sensor = new Sensor{ {}, driverOf( arguments ) };
   sensor->record = { nullptr, &kTemperatureOps, sensor };
   pl_trace( 0, "parsing devArgs = %s", arguments );
   if ( sensor->driver == "null" ) {
      pl_trace( 0, "driver null not found" );
      pl_trace( 0, "factory function returned a null object" );
      return nullptr;
   }
   misbehave( sensor->driver );
   if ( sensor->driver == "ticks" ) {
      sensor->timer = pl_timer_add( tick, sensor );
      pl_timer_set( sensor->timer, kTickMs );
   }
   return &sensor->record;
}

pl_status pl_temp_sensor_init( const char* topology ) {
   return init( topology );
}

#define FAKE_KIND( kind )                               \
   pl_status pl_##kind##_init( const char* topology ) { \
      return init( topology );                          \
   }                                                    \
   pl_##kind* pl_##kind##_add( const char* ) {          \
      static pl_##kind record{};                        \
      return &record;                                   \
   }

FAKE_KIND( system )
FAKE_KIND( slot )
FAKE_KIND( led )
FAKE_KIND( poe_port )
FAKE_KIND( fan )
FAKE_KIND( xcvr )
FAKE_KIND( psu )
FAKE_KIND( gpio )

pl_status pl_smbus_init( const char* topology ) {
   return init( topology );
}

pl_smbus* pl_smbus_add( const char* stem, uint8_t address ) {
   static pl_smbus record{};
   return std::string( stem ) == "scd0" && address == 0x48 ? &record : nullptr;
}
