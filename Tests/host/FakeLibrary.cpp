// A driver library without chips. The topology says in words what happens when it starts, a
// temperature sensor's device arguments what happens when it is read or, behind "add" and up to
// "then", added. A number is the reading, "status" with a digit the result; a file that is missing
// kills, behind "?" it lets a request fail, behind "!" a request and the call. A file behind "+"
// grows by a byte.

#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <map>
#include <sstream>
#include <string>

#include "Platform/ServiceFailure.h"
#include "Utils/NotImplementedException.h"
#include "pl.h"
#include "smbus.pb.h"

namespace {

constexpr int kTickMs = 5;
constexpr int kSlowUs = 100'000;

void* timer = nullptr;  // runs from the first sensor on
int ticks = 0;

void tick( void* ) {
   ++ticks;
   pl_timer_set( timer, kTickMs );
}

void missAcknowledge( float* ) {
   Smbus::TransactionResponse answer;
   answer.set_failure( ENXIO );
   answer.mutable_details()->set_reason( "no acknowledge" );
   answer.mutable_details()->set_request( 0 );
   answer.mutable_details()->set_device( 0x48 );
   PlatformLibrary::noteAnswer( answer, 2 );
}

void missService( float* ) {
   PlatformLibrary::noteNoAnswer( ECONNRESET, "the connection broke" );
}

[[noreturn]] void hang( float* ) {
   while ( true ) {
      pl_trace( 0, "still busy" );
      usleep( 1000 );
   }
}

const std::map< std::string, void ( * )( float* ) > kDeeds = {
   { "abort", []( float* ) { abort(); } },
   { "nak", missAcknowledge },
   { "unserved", missService },
   { "throw", []( float* ) { throw 7; } },
   { "other-kind", []( float* ) { throw NotImplementedException( "newTempSensor" ); } },
   { "hang", hang },
   { "slow", []( float* ) { usleep( kSlowUs ); } },
   { "kill", []( float* ) { raise( SIGKILL ); } },
   { "exit", []( float* ) { exit( 3 ); } },
   { "process", []( float* value ) { *value = static_cast< float >( getpid() ); } },
   { "ticks", []( float* value ) { *value = static_cast< float >( ticks ); } },
};

pl_status perform( const std::string& words, float* value = nullptr ) {
   pl_status status = PL_STATUS_OK;
   std::istringstream stream( words );
   for ( std::string word; stream >> word; ) {
      if ( auto deed = kDeeds.find( word ); deed != kDeeds.end() ) {
         deed->second( value );
      } else if ( word.starts_with( '/' ) ) {
         access( word.c_str(), F_OK ) == 0 ? void() : abort();
      } else if ( word[ 0 ] == '+' ) {
         std::ofstream( word.substr( 1 ), std::ios::app ) << '+';
      } else if ( word[ 0 ] == '?' || word[ 0 ] == '!' ) {
         if ( access( word.c_str() + 1, F_OK ) != 0 ) {
            missAcknowledge( value );
            status = word[ 0 ] == '!' ? PL_STATUS_IO_ERROR : PL_STATUS_OK;
         }
      } else if ( word.starts_with( "status" ) ) {
         return word.back() - '0';
      } else {
         *value = std::stof( word );
      }
   }
   return status;
}

pl_status setLed( pl_led*, pl_led_status status ) {
   return status == PL_LED_BEACON ? PL_STATUS_OK : PL_STATUS_UNSUPPORTED;
}

pl_status tellModel( pl_slot*, char** info ) {
   *info = strdup( "tray.modelName = 'FAN-7001-F'" );
   return PL_STATUS_OK;
}

int speed = 0;  // of the one fan: each setting makes it faster, until it breaks

pl_status readSpeed( pl_fan*, int* rpm ) {
   *rpm = speed;
   return speed > 10'000 ? PL_STATUS_DEVICE_ERROR : PL_STATUS_OK;
}

pl_status speedUp( pl_fan*, int rpm ) {
   speed += rpm;
   return PL_STATUS_OK;
}

// The module of an object that is "late" is absent at first, then there and not yet answering.
bool isMissing( const std::string& arguments ) {
   static int tries = 0;
   int attempt = arguments == "late" ? ++tries : 3;
   errno = attempt == 1 ? ENODEV : 0;
   return attempt < 3;
}

pl_status tellState( pl_poe_port* port,
                     pl_poe_port_state* state,
                     pl_poe_port_state*,
                     pl_poe_port_state*,
                     pl_poe_port_pair_state* ) {
   char word = *static_cast< char* >( port->priv );
   *state = static_cast< pl_poe_port_state >( ( word - '0' ) % 7 );
   return word == '?' ? PL_STATUS_IO_ERROR : PL_STATUS_OK;
}

pl_status tellTwelve( pl_poe_port*, float* value ) {
   *value = 12;
   return PL_STATUS_OK;
}

pl_status tellInformation( pl_poe_port* port, char** text ) {
   *text = strdup( static_cast< char* >( port->priv ) + 1 );
   return PL_STATUS_OK;
}

// A supply without input power and with no measure of its output power.
const pl_psu_ops kSupply = {
   .size = sizeof( pl_psu_ops ),
   .unused = nullptr,
   .get_power_ok =
      []( pl_psu*, int* ok ) {
         *ok = 0;
         return pl_status{ PL_STATUS_OK };
      },
   .get_input_current = []( pl_psu*, float* amperes ) { return perform( "nan", amperes ); },
   .get_output_current = []( pl_psu*, float* amperes ) { return perform( "1.5", amperes ); },
   .get_input_voltage = []( pl_psu*, float* volts ) { return perform( "nak status4", volts ); },
   .get_output_voltage = []( pl_psu*, float* volts ) { return perform( "status4", volts ); },
   .get_input_power = []( pl_psu*, float* watts ) { return perform( "other-kind", watts ); },
   .get_output_power = nullptr,
};

int findNone( pl_xcvr* ) {
   return 0;
}

}  // namespace

#define FAKE_INIT( kind )                               \
   pl_status pl_##kind##_init( const char* topology ) { \
      return perform( topology );                       \
   }

// `...` fills `ops`, the table of the kind's one record.
#define FAKE_KIND( kind, ... )                           \
   FAKE_INIT( kind )                                     \
   pl_##kind* pl_##kind##_add( const char* arguments ) { \
      static pl_##kind##_ops ops{};                      \
      static pl_##kind record{};                         \
      __VA_ARGS__;                                       \
      record.ops = &ops;                                 \
      return isMissing( arguments ) ? nullptr : &record; \
   }

FAKE_KIND( system )
FAKE_KIND( slot, ops.get_presence = tellModel )
FAKE_KIND( led, ops.set_light_setting = setLed )
FAKE_INIT( poe_port )
FAKE_INIT( temp_sensor )
FAKE_KIND( fan, ops.get_rpm = readSpeed, ops.set_rpm = speedUp )
FAKE_KIND( xcvr, ops.type = PL_XCVR_QSFP, ops.family.qsfp.get_presence = findNone )
FAKE_KIND( psu, ops = kSupply )
FAKE_KIND( gpio )
FAKE_INIT( smbus )

pl_temp_sensor* pl_temp_sensor_add( const char* arguments, float, float ) {
   static pl_temp_sensor_ops ops{};
   ops.get_temperature = []( pl_temp_sensor* sensor, float* celsius ) {
      return perform( *static_cast< std::string* >( sensor->priv ), celsius );
   };
   if ( !timer ) {
      timer = pl_timer_add( tick, nullptr );
      tick( nullptr );
   }
   std::string words = arguments;
   if ( words.starts_with( "add " ) ) {
      size_t end = words.find( " then " );
      if ( perform( words.substr( 4, end - 4 ) ) != PL_STATUS_OK ) {
         return nullptr;
      }
      words = end == words.npos ? "" : words.substr( end + 6 );
   }
   return new pl_temp_sensor{ nullptr, &ops, new std::string( words ) };
}

// The arguments are its state, or "?", and its information.
pl_poe_port* pl_poe_port_add( const char* arguments ) {
   static pl_poe_port_ops ops{};
   ops.get_poe_port_power_state = tellState;
   ops.get_poe_device_class = []( pl_poe_port*, pl_poe_device_class* deviceClass, auto, auto ) {
      *deviceClass = PL_POE_CLASS_4;
      return pl_status{ PL_STATUS_OK };
   };
   ops.get_poe_port_power = []( pl_poe_port* port, float* watts, float*, float* ) {
      return tellTwelve( port, watts );
   };
   ops.get_poe_port_voltage = ops.get_poe_port_current = ops.get_poe_port_temperature = tellTwelve;
   ops.get_poe_port_information = tellInformation;
   ops.debug_info = []( const pl_poe_port* port, char** text, bool ) {
      return tellInformation( const_cast< pl_poe_port* >( port ), text );
   };
   ops.set_poe_port_limit = []( pl_poe_port*, pl_poe_power_limit_mode, float ) {
      return pl_status{ PL_STATUS_OK };
   };
   return new pl_poe_port{ nullptr, &ops, strdup( arguments ) };
}

pl_smbus* pl_smbus_add( const char* stem, uint8_t address ) {
   static pl_smbus record{};
   return std::string( stem ) == "scd0" && address == 0x48 ? &record : nullptr;
}
