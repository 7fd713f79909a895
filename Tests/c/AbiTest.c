/*
 * The binary interface of every kind of object, checked word by word as a host in C sees it: the
 * table's size and slots, the way back from the structure to the object, and that each slot, and
 * the object's virtual table behind it, reaches the operation of its name with its arguments.
 */
#include <stdarg.h>
#include <stdint.h>
#include <stdio.h>
#include <string.h>

#include "Tests/support/EveryKind.h"
#include "pl.h"
#include "pl_host.h"

#define MAX_WORDS 17 /* of the largest table */
#define HOST_WORD 0x5AFE
#define PORT 41

static struct {
   const char* name;
   const uintptr_t* record;
   const uintptr_t* table;
   const uintptr_t* virtuals;
   void* object;
   int words; /* of the table */
   int reached[ MAX_WORDS ];
   int level;          /* of the callbacks' traces, which are */
   const char* suffix; /* the operation's name and this, */
   char tail[ 32 ];    /* then this, when it is not empty, and a closing parenthesis */
} kind;

static int failures;
static char traced[ 2 ][ 256 ]; /* the latest lines, the last one last */

static void collect( void* user, int level, const char* text ) {
   ( void )user;
   memcpy( traced[ 0 ], traced[ 1 ], sizeof traced[ 0 ] );
   snprintf( traced[ 1 ], sizeof traced[ 1 ], "%d %s", level, text );
}

static void expect( int condition, const char* format, ... ) {
   va_list arguments;
   if ( condition ) {
      return;
   }
   ++failures;
   fprintf( stderr, "%s: ", kind.name );
   va_start( arguments, format );
   vfprintf( stderr, format, arguments );
   va_end( arguments );
   fputc( '\n', stderr );
}

static void expect_callback( const char* name, const char* value ) {
   char expected[ sizeof traced[ 0 ] ];
   snprintf( expected, sizeof expected, "%d %s%s%s%s%s", kind.level, name, kind.suffix, kind.tail,
             value, kind.tail[ 0 ] ? ")" : "" );
   expect( strcmp( traced[ 0 ], expected ) == 0, "traced '%s', not '%s'", traced[ 0 ], expected );
}

static void expect_operation( const char* name, const char* format, ... ) {
   char expected[ sizeof traced[ 0 ] ];
   va_list arguments;
   int length =
      snprintf( expected, sizeof expected, "%d %p %s", EVERY_KIND_LEVEL, kind.object, name );
   va_start( arguments, format );
   vsnprintf( expected + length, sizeof expected - ( size_t )length, format, arguments );
   va_end( arguments );
   expect( strcmp( traced[ 1 ], expected ) == 0, "traced '%s', not '%s'", traced[ 1 ], expected );
   memset( traced, 0, sizeof traced );
}

/* A new kind. Its size is that of the table of a 32-bit host; the object begins some words before
 * the record. */
static void begin( const char* name, int size, int words_before, void* record ) {
   memset( &kind, 0, sizeof kind );
   kind.name = name;
   kind.record = record;
   kind.table = ( const uintptr_t* )kind.record[ 1 ];
   kind.object = ( void* )kind.record[ 2 ];
   kind.virtuals = *( const uintptr_t* const* )kind.object;
   kind.words = size / 4;
   kind.reached[ 0 ] = 1;
   kind.level = 4;
   kind.suffix = "Callback";
   snprintf( kind.tail, sizeof kind.tail, "(%p", record );
   expect( kind.table[ 0 ] == ( size_t )kind.words * sizeof( uintptr_t ), "size word is %zu",
           ( size_t )kind.table[ 0 ] );
   expect( ( const void* )( kind.record - words_before ) == kind.object, "object is elsewhere" );
   *( uintptr_t* )record = HOST_WORD;
}

/* Words of the table that no call reached are null. */
static void end( void ) {
   for ( int word = 0; word < kind.words; ++word ) {
      expect( kind.reached[ word ] || !kind.table[ word ], "word %d is not null", word );
   }
   expect( kind.record[ 0 ] == HOST_WORD, "the host's word was written" );
}

/* Word `word` of the table is the host's declaration's `member`, and slot `slot` of the object's
 * virtual table stands behind it: both reach operation `name`, with the arguments as they are. */
#define REACH( word, slot, member, name, value, call, virtual_call, ... )                        \
   do {                                                                                          \
      kind.reached[ word ] = 1;                                                                  \
      expect( kind.table[ word ] == ( uintptr_t )ops->member, "word %d is not %s", word, name ); \
      expect( ( call ) == EVERY_KIND_STATUS, "%s: another status", name );                       \
      expect_callback( name, value );                                                            \
      expect_operation( name, __VA_ARGS__ );                                                     \
      ( virtual_call );                                                                          \
      expect_operation( name, __VA_ARGS__ );                                                     \
   } while ( 0 )
#define VIRTUAL( slot, member ) ( ( __typeof__( ops->member ) )kind.virtuals[ slot ] )
#define SLOT_BARE( word, slot, member, name )                \
   REACH( word, slot, member, name, "", ops->member( self ), \
          VIRTUAL( slot, member )( kind.object ), "" )
#define SLOT( word, slot, member, name, format, ... )                     \
   REACH( word, slot, member, name, "", ops->member( self, __VA_ARGS__ ), \
          VIRTUAL( slot, member )( kind.object, __VA_ARGS__ ), format, __VA_ARGS__ )
/* The callback's trace shows the value. */
#define SLOT_VALUE( word, slot, member, name, value )                        \
   REACH( word, slot, member, name, ", " #value, ops->member( self, value ), \
          VIRTUAL( slot, member )( kind.object, value ), " %d", value )

static const char* device( const char* type ) {
   static char text[ 256 ];
   snprintf( text, sizeof text,
             "{ \"driver\": \"EveryKind\", \"did\": 1, \"provideHam\": 0,"
             " \"address\": { \"address\": 1 },"
             " \"driverArgs\": { \"id\": %d, \"type\": \"%s\" } }",
             PORT, type );
   return text;
}

static void check_system( void ) {
   const uintptr_t* record = ( const uintptr_t* )pl_system_add( "" );
   const uintptr_t* table = ( const uintptr_t* )record[ 1 ];
   kind.name = "system";
   expect( record[ 0 ] == 0, "first word" );
   expect( table[ 0 ] == 5 * sizeof( uintptr_t ), "size word" );
   expect( !table[ 1 ] && !table[ 2 ] && !table[ 3 ] && !table[ 4 ], "a slot is not null" );
}

static void check_temp_sensor( void ) {
   pl_temp_sensor* self = pl_temp_sensor_add( device( "" ), 1, 2 );
   const struct pl_temp_sensor_ops* ops = self->ops;
   float celsius;
   begin( "temp_sensor", 12, 1, self );
   ( ( void ( * )( void*, float ) )kind.virtuals[ 2 ] )( self->priv, 1.5f );
   expect_operation( "alertThresholdIs", " 1.5" );
   ( ( void ( * )( void*, float ) )kind.virtuals[ 3 ] )( self->priv, 2.5f );
   expect_operation( "criticalThresholdIs", " 2.5" );
   SLOT( 2, 4, get_temperature, "getTemperature", " %p", &celsius );
   end();
}

static void check_led( void ) {
   pl_led* self = pl_led_add( device( "" ) );
   const struct pl_led_ops* ops = self->ops;
   begin( "led", 8, 1, self );
   ( ( bool ( * )( void*, bool ) )kind.virtuals[ 2 ] )( self->priv, true );
   expect_operation( "handleBlinkTimer", " 1" );
   SLOT_VALUE( 1, 3, set_light_setting, "setLightSetting", 6 );
   end();
}

static void check_fan( void ) {
   pl_fan* self = pl_fan_add( device( "" ) );
   const struct pl_fan_ops* ops = self->ops;
   int rpm;
   char* text;
   begin( "fan", 16, 1, self );
   SLOT( 1, 2, debug_info, "debugInfo", " %p", &text );
   SLOT( 2, 3, get_rpm, "getRpm", " %p", &rpm );
   SLOT_VALUE( 3, 4, set_rpm, "setRpm", 1200 );
   end();
}

static void check_slot( void ) {
   pl_slot* self = pl_slot_add( device( "" ) );
   const struct pl_slot_ops* ops = self->ops;
   char* info;
   begin( "slot", 8, 1, self );
   SLOT( 1, 2, get_presence, "getPresence", " %p", &info );
   end();
}

static void check_psu( void ) {
   pl_psu* self = pl_psu_add( device( "" ) );
   const struct pl_psu_ops* ops = self->ops;
   int ok;
   float value;
   begin( "psu", 36, 1, self );
   kind.suffix = "_callback";
   kind.tail[ 0 ] = '\0';
   SLOT( 2, 0, get_power_ok, "get_power_ok", " %p", &ok );
   SLOT( 3, 1, get_input_current, "get_input_current", " %p", &value );
   SLOT( 4, 2, get_output_current, "get_output_current", " %p", &value );
   SLOT( 5, 3, get_input_voltage, "get_input_voltage", " %p", &value );
   SLOT( 6, 4, get_output_voltage, "get_output_voltage", " %p", &value );
   SLOT( 7, 5, get_input_power, "get_input_power", " %p", &value );
   SLOT( 8, 6, get_output_power, "get_output_power", " %p", &value );
   end();
}

/* Their port's number stands between virtual table and structure, and in the traces. */
static void begin_xcvr( const char* name, pl_xcvr* xcvr, uintptr_t type, size_t family_words ) {
   begin( name, 44, 2, xcvr );
   snprintf( kind.tail, sizeof kind.tail, "(%d", PORT );
   expect( *( ( const uint32_t* )( ( const uintptr_t* )kind.object + 1 ) ) == PORT,
           "no port number" );
   expect( kind.table[ 1 ] == type, "type code is %zu", ( size_t )kind.table[ 1 ] );
   expect( kind.table[ 2 ] == family_words * sizeof( uintptr_t ), "family's size is %zu",
           ( size_t )kind.table[ 2 ] );
   kind.reached[ 1 ] = kind.reached[ 2 ] = 1;
}

static void check_sfp( void ) {
   pl_xcvr* self = pl_xcvr_add( device( "sfp" ) );
   const struct pl_sfp_ops* ops = &self->ops->family.sfp;
   int value;
   begin_xcvr( "sfp", self, 0, 24 / 4 );
   SLOT_BARE( 3, 2, get_presence, "getPresence" );
   SLOT( 4, 3, get_tx_fault, "getTxFault", " %p", &value );
   SLOT( 5, 4, get_rx_los, "getRxLos", " %p", &value );
   SLOT( 6, 5, get_tx_disable, "getTxDisable", " %p", &value );
   SLOT_VALUE( 7, 6, set_tx_disable, "setTxDisable", 1 );
   end();
}

#define CHECK_QUAD( type, kin, code )                              \
   do {                                                            \
      pl_xcvr* self = pl_xcvr_add( device( type ) );               \
      const struct pl_##kin##_ops* ops = &self->ops->family.kin;   \
      int value;                                                   \
      begin_xcvr( #kin, self, code, 36 / 4 );                      \
      SLOT_BARE( 3, 2, get_presence, "getPresence" );              \
      SLOT( 4, 3, get_mod_sel, "getModSel", " %p", &value );       \
      SLOT_VALUE( 5, 4, set_mod_sel, "setModSel", 1 );             \
      SLOT( 6, 5, get_lp_mode, "getLpMode", " %p", &value );       \
      SLOT_VALUE( 7, 6, set_lp_mode, "setLpMode", 0 );             \
      SLOT( 8, 7, get_reset, "getReset", " %p", &value );          \
      SLOT_VALUE( 9, 8, set_reset, "setReset", -1 );               \
      SLOT( 10, 9, get_interrupt, "getInterrupt", " %p", &value ); \
      end();                                                       \
   } while ( 0 )

static void check_gpio( void ) {
   pl_gpio* self = pl_gpio_add( device( "" ) );
   const struct pl_gpio_ops* ops = self->ops;
   unsigned int value;
   begin( "gpio", 16, 1, self );
   kind.tail[ 0 ] = '\0';
   SLOT_BARE( 1, 3, bit_set, "bitSet" );
   SLOT_BARE( 2, 2, bit_clear, "bitClear" );
   SLOT( 3, 4, bit_read, "bitRead", " %p", &value );
   end();
}

static void check_smbus( void ) {
   pl_smbus* self = pl_smbus_add( device( "" ), 0 );
   const struct pl_smbus_ops* ops = self->ops;
   const uint32_t reg = 0xFFFFFFFE;
   const uint8_t size = 4;
   uint8_t byte, bytes[ 4 ], count;
   uint16_t word;
   uint32_t length;
   begin( "smbus", 56, 1, self );
   kind.level = 1;
   kind.tail[ 0 ] = '\0';
   SLOT( 1, 0, quick_command, "quickCommand", " %d", -3 );
   SLOT( 2, 1, receive_byte, "receiveByte", " %p", &byte );
   SLOT( 3, 2, send_byte, "sendByte", " %d", 0xFF );
   SLOT( 4, 3, read_byte, "readByte", " %u %d %p", reg, size, &byte );
   SLOT( 5, 4, write_byte, "writeByte", " %u %d %d", reg, size, 0xFE );
   SLOT( 6, 5, read_word, "readWord", " %u %d %p", reg, size, &word );
   SLOT( 7, 6, write_word, "writeWord", " %u %d %d", reg, size, 0xFFFE );
   SLOT( 8, 7, block_read, "blockRead", " %u %d %p %p", reg, size, bytes, &length );
   SLOT( 9, 8, block_write, "blockWrite", " %u %d %p %u", reg, size, bytes, 0x80000001 );
   SLOT( 10, 9, i2c_block_read, "i2cBlockRead", " %u %d %p %u", reg, size, bytes, 0x80000002 );
   SLOT( 11, 10, i2c_block_write, "i2cBlockWrite", " %u %d %p %u", reg, size, bytes, 0x80000003 );
   SLOT( 12, 11, process_call, "processCall", " %u %d %d %p", reg, size, 0xFFFD, &word );
   SLOT( 13, 12, block_process_call, "blockProcessCall", " %u %d %p %d %p %p", reg, size, bytes,
         255, &byte, &count );
   end();
}

static void check_poe_port( void ) {
   pl_poe_port* self = pl_poe_port_add( device( "" ) );
   const struct pl_poe_port_ops* ops = self->ops;
   pl_poe_port_state state[ 3 ];
   pl_poe_port_pair_state pairs;
   pl_poe_device_class class[ 3 ];
   float value[ 3 ];
   char* text;
   bool ok;
   begin( "poe_port", 68, 1, self );
   SLOT( 1, 2, debug_info, "debugInfo", " %p %d", &text, true );
   SLOT_BARE( 2, 3, poe_port_init, "poePortInit" );
   SLOT( 3, 4, reprogram_poe_firmware, "reprogramPoeFirmware", " %d %p", true, &text );
   SLOT( 4, 5, set_poe_port_pse, "setPoePortPse", " %d", true );
   SLOT( 5, 6, set_poe_port_limit, "setPoePortLimit", " %d %g", PL_POE_LIMIT_USER, 30.5 );
   SLOT( 6, 7, set_poe_port_shut_off_with_psu, "setPoePortShutOffWithPsu", " %d %d", 255, true );
   SLOT( 7, 8, poe_port_power_on, "poePortPowerOn", " %d", true );
   SLOT( 8, 9, set_poe_port_legacy_detect, "setPoePortLegacyDetect", " %d", false );
   SLOT( 9, 10, get_poe_port_power_state, "getPoePortPowerState", " %p %p %p %p", &state[ 0 ],
         &state[ 1 ], &state[ 2 ], &pairs );
   SLOT( 10, 11, get_poe_device_class, "getPoeDeviceClass", " %p %p %p", &class[ 0 ], &class[ 1 ],
         &class[ 2 ] );
   SLOT( 11, 12, get_poe_port_power, "getPoePortPower", " %p %p %p", &value[ 0 ], &value[ 1 ],
         &value[ 2 ] );
   SLOT( 12, 13, get_poe_port_voltage, "getPoePortVoltage", " %p", &value[ 0 ] );
   SLOT( 13, 14, get_poe_port_current, "getPoePortCurrent", " %p", &value[ 1 ] );
   SLOT( 14, 15, get_poe_port_temperature, "getPoePortTemperature", " %p", &value[ 2 ] );
   SLOT( 15, 16, get_poe_port_crc_status, "getPoePortCrcStatus", " %p", &ok );
   SLOT( 16, 17, get_poe_port_information, "getPoePortInformation", " %p", &text );
   end();
}

int main( void ) {
   every_kind_register();
   pl_trace_level_set( 9 );
   pl_trace_sink_set( collect, NULL );
   check_system();
   check_temp_sensor();
   check_led();
   check_fan();
   check_slot();
   check_psu();
   check_sfp();
   CHECK_QUAD( "qsfp", qsfp, 1 );
   CHECK_QUAD( "qsfpDd", cmis, 2 );
   check_gpio();
   check_smbus();
   check_poe_port();
   return failures != 0;
}
