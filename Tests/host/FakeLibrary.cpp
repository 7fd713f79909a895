// A driver library without chips. What a temperature sensor does is the driver name in its device
// arguments; names that begin with "read-" take effect when the object is read.

#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <map>
#include <string>

#include "Platform/ServiceFailure.h"
#include "Utils/NotImplementedException.h"
#include "pl.h"
#include "smbus.pb.h"

namespace {

constexpr int kTickMs = 5;
constexpr int kSlowUs = 100'000;

struct Sensor {
   pl_temp_sensor record;
   std::string driver;
   void* timer = nullptr;
   int ticks = 0;
};

std::string driverOf( const std::string& arguments ) {
   const std::string key = "\"driver\":\"";
   size_t begin = arguments.find( key ) + key.size();
   return arguments.substr( begin, arguments.find( '"', begin ) - begin );
}

void missAcknowledge() {
   Smbus::TransactionResponse answer;
   answer.set_failure( ENXIO );
   answer.mutable_details()->set_reason( "no acknowledge" );
   answer.mutable_details()->set_request( 0 );
   answer.mutable_details()->set_device( 0x48 );
   PlatformLibrary::noteAnswer( answer, 2 );
}

void missService() {
   PlatformLibrary::noteNoAnswer( ECONNRESET, "the connection broke" );
}

[[noreturn]] void hang() {
   while ( true ) {
      pl_trace( 0, "still busy" );
      usleep( 1000 );
   }
}

void misbehave( const std::string& how ) {
   const std::map< std::string, void ( * )() > deeds = {
      { "abort", abort },
      { "nak", [] { missAcknowledge(), abort(); } },
      { "unserved", [] { missService(), abort(); } },
      { "throw", [] { throw 7; } },
      { "other-kind", [] { throw NotImplementedException( "newTempSensor" ); } },
      { "hang", hang },
      { "slow", [] { usleep( kSlowUs ); } },
      { "kill", [] { raise( SIGKILL ); } },
      { "exit", [] { exit( 3 ); } },
   };
   if ( auto deed = deeds.find( how ); deed != deeds.end() ) {
      deed->second();
   }
}

pl_status getTemperature( pl_temp_sensor* record, float* celsius ) {
   auto sensor = static_cast< Sensor* >( record->priv );
   const std::string& driver = sensor->driver;
   if ( driver.starts_with( "nak-" ) ) {
      missAcknowledge();
   }
   if ( driver.starts_with( "unserved-" ) ) {
      missService();
   }
   if ( driver.find( "status" ) != std::string::npos ) {
      return driver.back() - '0';
   }
   if ( driver.starts_with( "read-" ) ) {
      misbehave( driver.substr( strlen( "read-" ) ) );
   } else {
      *celsius = driver == "process" ? static_cast< float >( getpid() )
                 : driver == "ticks" ? static_cast< float >( sensor->ticks )
                                     : std::stof( driver );
   }
   return PL_STATUS_OK;
}

void tick( void* user ) {
   auto sensor = static_cast< Sensor* >( user );
   ++sensor->ticks;
   pl_timer_set( sensor->timer, kTickMs );
}

pl_status init( const char* topology ) {
   misbehave( topology );
   return strcmp( topology, "refuse" ) == 0 ? PL_STATUS_IO_ERROR : PL_STATUS_OK;
}

pl_status setLed( pl_led*, pl_led_status status ) {
   return status == PL_LED_BEACON ? PL_STATUS_OK : PL_STATUS_UNSUPPORTED;
}

int findNone( pl_xcvr* ) {
   return 0;
}

}  // namespace

pl_temp_sensor* pl_temp_sensor_add( const char* arguments, float, float ) {
   static pl_temp_sensor_ops ops{};
   ops.get_temperature = getTemperature;
   auto sensor = new Sensor{ {}, driverOf( arguments ) };
   sensor->record = { nullptr, &ops, sensor };
   misbehave( sensor->driver );
   if ( sensor->driver == "ticks" ) {
      sensor->timer = pl_timer_add( tick, sensor );
      pl_timer_set( sensor->timer, kTickMs );
   }
   return sensor->driver == "null" ? nullptr : &sensor->record;
}

pl_status pl_temp_sensor_init( const char* topology ) {
   return init( topology );
}

// `...` fills `ops`, the table of the kind's one record.
#define FAKE_KIND( kind, ... )                          \
   pl_status pl_##kind##_init( const char* topology ) { \
      return init( topology );                          \
   }                                                    \
   pl_##kind* pl_##kind##_add( const char* ) {          \
      static pl_##kind##_ops ops{};                     \
      static pl_##kind record{};                        \
      __VA_ARGS__;                                      \
      record.ops = &ops;                                \
      return &record;                                   \
   }

FAKE_KIND( system )
FAKE_KIND( slot )
FAKE_KIND( led, ops.set_light_setting = setLed )
FAKE_KIND( poe_port )
FAKE_KIND( fan )
FAKE_KIND( xcvr, ops.type = PL_XCVR_QSFP, ops.family.qsfp.get_presence = findNone )
FAKE_KIND( psu )
FAKE_KIND( gpio )

pl_status pl_smbus_init( const char* topology ) {
   return init( topology );
}

pl_smbus* pl_smbus_add( const char* stem, uint8_t address ) {
   static pl_smbus record{};
   return std::string( stem ) == "scd0" && address == 0x48 ? &record : nullptr;
}
