#include "pl.h"

// Every table is one word per slot. The sizes are the 32-bit host's.
namespace {

constexpr size_t kWord = sizeof( void* );

static_assert( sizeof( pl_system_ops ) == 20 / 4 * kWord );
static_assert( sizeof( pl_temp_sensor_ops ) == 12 / 4 * kWord );
static_assert( sizeof( pl_led_ops ) == 8 / 4 * kWord );
static_assert( sizeof( pl_fan_ops ) == 16 / 4 * kWord );
static_assert( sizeof( pl_slot_ops ) == 8 / 4 * kWord );
static_assert( sizeof( pl_psu_ops ) == 36 / 4 * kWord );
static_assert( sizeof( pl_xcvr_ops ) == 44 / 4 * kWord );
static_assert( sizeof( pl_sfp_ops ) == 24 / 4 * kWord );
static_assert( sizeof( pl_qsfp_ops ) == 36 / 4 * kWord );
static_assert( sizeof( pl_cmis_ops ) == 36 / 4 * kWord );
static_assert( sizeof( pl_gpio_ops ) == 16 / 4 * kWord );
static_assert( sizeof( pl_smbus_ops ) == 56 / 4 * kWord );
static_assert( sizeof( pl_poe_port_ops ) == 68 / 4 * kWord );
static_assert( sizeof( pl_temp_sensor ) == 3 * kWord );
static_assert( sizeof( pl_system ) == 2 * kWord );

}  // namespace
