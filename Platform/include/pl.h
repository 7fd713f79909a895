/*
 * pl.h: the boundary between a platform-management host and a hardware driver library.
 *
 * Usable from C11 and C++. A host calls pl_<kind>_init with the board's topology document, then
 * pl_<kind>_add once for each object, and from then on the callbacks of the object's table.
 *
 * Conventions
 *  - All calls come from one host thread; the library takes no locks and starts no threads.
 *  - Objects live until the process ends. The host never frees them, and may keep any value of its
 *    own in the `host` word; the library never reads or writes that word, but that a new
 *    pl_system has null there.
 *  - Output arguments are written only when the callback returns PL_STATUS_OK, unless stated.
 *  - Texts returned through `char **` are allocated with malloc; the caller frees them.
 *  - A table begins with its own size in bytes; a slot the library does not serve is null.
 *  - Operations a driver does not have raise a C++ exception of type NotImplementedException.
 *  - Driver arguments that are no numbers raise std::invalid_argument or std::out_of_range.
 */
#ifndef PL_H
#define PL_H

#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef int32_t pl_status;

enum {
   PL_STATUS_OK = 0,
   PL_STATUS_ABSENT = 1,       /* the device or module is not there */
   PL_STATUS_DEVICE_ERROR = 2, /* the device answered, and reports an error of its own */
   PL_STATUS_UNSUPPORTED = 3,  /* setting not supported, register unavailable, document not JSON */
   PL_STATUS_IO_ERROR = 4,     /* transport failed, diode fault, or a bad checksum */
   /* 5 is reserved */
   PL_STATUS_FAILURE = 6 /* the service reported a failure, memory ran out, or what was read is no
                            good (a damaged memory, a firmware image) */
};

enum pl_led_status {
   PL_LED_OFF = 0,
   PL_LED_GOOD = 1,
   PL_LED_WARNING = 2,
   PL_LED_BAD = 3,
   PL_LED_INACTIVE = 4,
   PL_LED_UNKNOWN = 5,
   PL_LED_BEACON = 6
};

enum pl_poe_port_state {
   PL_POE_PORT_DISABLED = 0,
   PL_POE_PORT_SEARCHING = 1,
   PL_POE_PORT_REQUESTING = 2,
   PL_POE_PORT_REQUESTING_DUAL = 3,
   PL_POE_PORT_POWERED = 4,
   PL_POE_PORT_FAULT = 5,
   PL_POE_PORT_OVERLOAD = 6
};

enum pl_poe_port_pair_state {
   PL_POE_PAIR_UNKNOWN = 0,
   PL_POE_PAIR_PRIMARY = 1,
   PL_POE_PAIR_ALTERNATIVE = 2,
   PL_POE_PAIR_BOTH = 3
};

/* IEEE 802.3 classes 0 to 8. */
enum pl_poe_device_class {
   PL_POE_CLASS_0 = 0,
   PL_POE_CLASS_1 = 1,
   PL_POE_CLASS_2 = 2,
   PL_POE_CLASS_3 = 3,
   PL_POE_CLASS_4 = 4,
   PL_POE_CLASS_5 = 5,
   PL_POE_CLASS_6 = 6,
   PL_POE_CLASS_7 = 7,
   PL_POE_CLASS_8 = 8,
   PL_POE_CLASS_UNKNOWN = 9
};

enum pl_poe_power_limit_mode {
   PL_POE_LIMIT_CLASS = 0, /* the limit of the device's class; the wattage is ignored */
   PL_POE_LIMIT_USER = 1   /* the wattage given; any other non-zero value acts alike */
};

enum pl_xcvr_type { PL_XCVR_SFP = 0, PL_XCVR_QSFP = 1, PL_XCVR_CMIS = 2 };

#ifndef __cplusplus
typedef enum pl_led_status pl_led_status;
typedef enum pl_poe_port_state pl_poe_port_state;
typedef enum pl_poe_port_pair_state pl_poe_port_pair_state;
typedef enum pl_poe_device_class pl_poe_device_class;
typedef enum pl_poe_power_limit_mode pl_poe_power_limit_mode;

typedef struct pl_system pl_system;
typedef struct pl_temp_sensor pl_temp_sensor;
typedef struct pl_led pl_led;
typedef struct pl_fan pl_fan;
typedef struct pl_slot pl_slot;
typedef struct pl_psu pl_psu;
typedef struct pl_xcvr pl_xcvr;
typedef struct pl_gpio pl_gpio;
typedef struct pl_smbus pl_smbus;
typedef struct pl_poe_port pl_poe_port;
#else
struct pl_system;
struct pl_temp_sensor;
struct pl_led;
struct pl_fan;
struct pl_slot;
struct pl_psu;
struct pl_xcvr;
struct pl_gpio;
struct pl_smbus;
struct pl_poe_port;
#endif

typedef void ( *pl_unused_slot )( void ); /* always null */

/* System: one record per add; the library serves no system operation. */

struct pl_system_ops {
   size_t size;
   pl_unused_slot unused[ 4 ];
};

struct pl_system {
   void* host;
   const struct pl_system_ops* ops;
};

/* Temperature sensor: degrees Celsius. */

struct pl_temp_sensor_ops {
   size_t size;
   pl_unused_slot unused;
   pl_status ( *get_temperature )( pl_temp_sensor* sensor, float* celsius );
};

struct pl_temp_sensor {
   void* host;
   const struct pl_temp_sensor_ops* ops;
   void* priv;
};

/* LED. PL_STATUS_UNSUPPORTED for a setting that the LED cannot show. */

struct pl_led_ops {
   size_t size;
   pl_status ( *set_light_setting )( pl_led* led, pl_led_status status );
};

struct pl_led {
   void* host;
   const struct pl_led_ops* ops;
   void* priv;
};

/* Fan: revolutions per minute. */

struct pl_fan_ops {
   size_t size;
   pl_status ( *debug_info )( const pl_fan* fan, char** text ); /* may leave *text untouched */
   pl_status ( *get_rpm )( pl_fan* fan, int* rpm );
   pl_status ( *set_rpm )( pl_fan* fan, int rpm );
};

struct pl_fan {
   void* host;
   const struct pl_fan_ops* ops;
   void* priv;
};

/* Slot: PL_STATUS_OK and a description when the unit is present, PL_STATUS_ABSENT when not. */

struct pl_slot_ops {
   size_t size;
   pl_status ( *get_presence )( pl_slot* slot, char** info );
};

struct pl_slot {
   void* host;
   const struct pl_slot_ops* ops;
   void* priv;
};

/* Power supply: amperes, volts, watts. */

struct pl_psu_ops {
   size_t size;
   pl_unused_slot unused;
   pl_status ( *get_power_ok )( pl_psu* psu, int* ok );
   pl_status ( *get_input_current )( pl_psu* psu, float* amps );
   pl_status ( *get_output_current )( pl_psu* psu, float* amps );
   pl_status ( *get_input_voltage )( pl_psu* psu, float* volts );
   pl_status ( *get_output_voltage )( pl_psu* psu, float* volts );
   pl_status ( *get_input_power )( pl_psu* psu, float* watts );
   pl_status ( *get_output_power )( pl_psu* psu, float* watts );
};

struct pl_psu {
   void* host;
   const struct pl_psu_ops* ops;
   void* priv;
};

/* Transceiver: control and status lines of a pluggable module, 0 or 1. */

struct pl_sfp_ops {
   size_t size;
   int ( *get_presence )( pl_xcvr* xcvr );
   pl_status ( *get_tx_fault )( pl_xcvr* xcvr, int* value );
   pl_status ( *get_rx_los )( pl_xcvr* xcvr, int* value );
   pl_status ( *get_tx_disable )( pl_xcvr* xcvr, int* value );
   pl_status ( *set_tx_disable )( pl_xcvr* xcvr, int value );
};

struct pl_qsfp_ops {
   size_t size;
   int ( *get_presence )( pl_xcvr* xcvr );
   pl_status ( *get_mod_sel )( pl_xcvr* xcvr, int* value );
   pl_status ( *set_mod_sel )( pl_xcvr* xcvr, int value );
   pl_status ( *get_lp_mode )( pl_xcvr* xcvr, int* value );
   pl_status ( *set_lp_mode )( pl_xcvr* xcvr, int value );
   pl_status ( *get_reset )( pl_xcvr* xcvr, int* value );
   pl_status ( *set_reset )( pl_xcvr* xcvr, int value );
   pl_status ( *get_interrupt )( pl_xcvr* xcvr, int* value );
};

struct pl_cmis_ops {
   size_t size;
   int ( *get_presence )( pl_xcvr* xcvr );
   pl_status ( *get_mod_sel )( pl_xcvr* xcvr, int* value );
   pl_status ( *set_mod_sel )( pl_xcvr* xcvr, int value );
   pl_status ( *get_lp_mode )( pl_xcvr* xcvr, int* value );
   pl_status ( *set_lp_mode )( pl_xcvr* xcvr, int value );
   pl_status ( *get_reset )( pl_xcvr* xcvr, int* value );
   pl_status ( *set_reset )( pl_xcvr* xcvr, int value );
   pl_status ( *get_interrupt )( pl_xcvr* xcvr, int* value );
};

struct pl_xcvr_ops {
   size_t size;
   size_t type; /* enum pl_xcvr_type; tells which member of the union is served */
   union {
      struct pl_sfp_ops sfp;
      struct pl_qsfp_ops qsfp;
      struct pl_cmis_ops cmis;
   } family;
};

struct pl_xcvr {
   void* host;
   const struct pl_xcvr_ops* ops;
   void* priv;
};

/* GPIO: one bit, 0 or 1. */

struct pl_gpio_ops {
   size_t size;
   pl_status ( *bit_set )( pl_gpio* gpio );
   pl_status ( *bit_clear )( pl_gpio* gpio );
   pl_status ( *bit_read )( pl_gpio* gpio, unsigned int* value );
};

struct pl_gpio {
   void* host;
   const struct pl_gpio_ops* ops;
   void* priv;
};

/*
 * Raw SMBus endpoint: one transaction a call. `reg_size` is the number of bytes (1, 2 or 4) in
 * which the register number is sent. Words travel low byte first. block_read's buffer must hold 255
 * bytes: a device may return as many, and a longer answer is refused (EPROTO) before it is copied.
 */

struct pl_smbus_ops {
   size_t size;
   pl_status ( *quick_command )( pl_smbus* smbus, int value );
   pl_status ( *receive_byte )( pl_smbus* smbus, uint8_t* value );
   pl_status ( *send_byte )( pl_smbus* smbus, uint8_t value );
   pl_status ( *read_byte )( pl_smbus* smbus, uint32_t reg, uint8_t reg_size, uint8_t* value );
   pl_status ( *write_byte )( pl_smbus* smbus, uint32_t reg, uint8_t reg_size, uint8_t value );
   pl_status ( *read_word )( pl_smbus* smbus, uint32_t reg, uint8_t reg_size, uint16_t* value );
   pl_status ( *write_word )( pl_smbus* smbus, uint32_t reg, uint8_t reg_size, uint16_t value );
   pl_status ( *block_read )(
      pl_smbus* smbus, uint32_t reg, uint8_t reg_size, uint8_t* buffer, uint32_t* length );
   pl_status ( *block_write )(
      pl_smbus* smbus, uint32_t reg, uint8_t reg_size, const uint8_t* data, uint32_t length );
   pl_status ( *i2c_block_read )(
      pl_smbus* smbus, uint32_t reg, uint8_t reg_size, uint8_t* buffer, uint32_t length );
   pl_status ( *i2c_block_write )(
      pl_smbus* smbus, uint32_t reg, uint8_t reg_size, const uint8_t* data, uint32_t length );
   pl_status ( *process_call )(
      pl_smbus* smbus, uint32_t reg, uint8_t reg_size, uint16_t value, uint16_t* answer );
   pl_status ( *block_process_call )( pl_smbus* smbus,
                                      uint32_t reg,
                                      uint8_t reg_size,
                                      const uint8_t* data,
                                      uint8_t length,
                                      uint8_t* buffer,
                                      uint8_t* answer_length );
};

struct pl_smbus {
   void* host;
   const struct pl_smbus_ops* ops;
   void* priv;
};

/* PoE port: watts, volts, amperes, degrees Celsius. */

struct pl_poe_port_ops {
   size_t size;
   pl_status ( *debug_info )( const pl_poe_port* port, char** text, bool verbose );
   pl_status ( *poe_port_init )( pl_poe_port* port );
   /* *text tells the outcome, also of a failure, unless the status is 2 or 3 and it is untouched.
    */
   pl_status ( *reprogram_poe_firmware )( pl_poe_port* port, bool force, char** text );
   pl_status ( *set_poe_port_pse )( pl_poe_port* port, bool enable );
   pl_status ( *set_poe_port_limit )( pl_poe_port* port,
                                      pl_poe_power_limit_mode mode,
                                      float watts );
   pl_status ( *set_poe_port_shut_off_with_psu )( pl_poe_port* port,
                                                  unsigned char psu,
                                                  bool enable );
   pl_status ( *poe_port_power_on )( pl_poe_port* port, bool on );
   pl_status ( *set_poe_port_legacy_detect )( pl_poe_port* port, bool enable );
   pl_status ( *get_poe_port_power_state )( pl_poe_port* port,
                                            pl_poe_port_state* state,
                                            pl_poe_port_state* primary,
                                            pl_poe_port_state* alternative,
                                            pl_poe_port_pair_state* pairs );
   pl_status ( *get_poe_device_class )( pl_poe_port* port,
                                        pl_poe_device_class* device_class,
                                        pl_poe_device_class* primary,
                                        pl_poe_device_class* alternative );
   pl_status ( *get_poe_port_power )( pl_poe_port* port,
                                      float* total,
                                      float* primary,
                                      float* alternative );
   pl_status ( *get_poe_port_voltage )( pl_poe_port* port, float* volts );
   pl_status ( *get_poe_port_current )( pl_poe_port* port, float* amps );
   pl_status ( *get_poe_port_temperature )( pl_poe_port* port, float* celsius );
   pl_status ( *get_poe_port_crc_status )( pl_poe_port* port, bool* ok );
   pl_status ( *get_poe_port_information )( pl_poe_port* port, char** text );
};

struct pl_poe_port {
   void* host;
   const struct pl_poe_port_ops* ops;
   void* priv;
};

/* Entry points are visible in a library that hides everything else. */
#pragma GCC visibility push( default )

/*
 * Entry points of the driver library.
 *
 * pl_<kind>_init takes the topology document (JSON). The first call of the process connects to the
 * SMBus service, with up to 30 attempts a second apart. Returns PL_STATUS_OK, PL_STATUS_IO_ERROR
 * when the service cannot be reached, PL_STATUS_UNSUPPORTED when the text is not JSON, or
 * PL_STATUS_FAILURE when no topology could be built. The same text may be presented again at no
 * cost. A document of the wrong shape aborts the process with a message.
 *
 * pl_<kind>_add takes one device's arguments (JSON) and returns the object, or null after a trace
 * line that says why. Null with errno ENODEV: the module that the object is about is not there; try
 * again when it is. The text must stay valid as long as the object is used: some drivers print it
 * again later.
 */

pl_status pl_system_init( const char* topology );
pl_status pl_slot_init( const char* topology );
pl_status pl_led_init( const char* topology );
pl_status pl_poe_port_init( const char* topology );
pl_status pl_temp_sensor_init( const char* topology );
pl_status pl_fan_init( const char* topology );
pl_status pl_xcvr_init( const char* topology );
pl_status pl_psu_init( const char* topology );
pl_status pl_gpio_init( const char* topology );
pl_status pl_smbus_init( const char* topology );

pl_system* pl_system_add( const char* device_args ); /* never null; the text is not parsed */
pl_slot* pl_slot_add( const char* device_args );
pl_led* pl_led_add( const char* device_args );
pl_poe_port* pl_poe_port_add( const char* device_args );
/* Thresholds in degrees Celsius; a chip that cannot take them aborts the process. */
pl_temp_sensor* pl_temp_sensor_add( const char* device_args,
                                    float alert_threshold,
                                    float critical_threshold );
pl_fan* pl_fan_add( const char* device_args );
/* Driver arguments "id" and "type" are required; a missing or unknown one aborts the process. */
pl_xcvr* pl_xcvr_add( const char* device_args );
pl_psu* pl_psu_add( const char* device_args );
pl_gpio* pl_gpio_add( const char* device_args );
/* `device` is device arguments (JSON), or the stem of a topology label: stem "smbus3" and address
 * 0x50 name the device labelled "smbus3<0x50>". The address is used only with a stem. */
pl_smbus* pl_smbus_add( const char* device, uint8_t address );

#pragma GCC visibility pop

/*
 * Services that the host's platform library offers to the driver library.
 */

/* One diagnostic line. Level 0: errors and life-cycle; higher levels: more detail. */
void pl_trace( int level, const char* format, ... ) __attribute__( ( format( printf, 2, 3 ) ) );

/* Creates a timer that calls `callback( user )` on the host's thread; not armed. Null when no
 * timer could be created. */
void* pl_timer_add( void ( *callback )( void* ), void* user );
/* Arms the timer once, `milliseconds` from now; arming again replaces. 0 on success. */
int pl_timer_set( void* timer, int milliseconds );

#ifdef __cplusplus
}
#endif

#endif
