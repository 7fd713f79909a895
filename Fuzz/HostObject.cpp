#include "Fuzz/HostObject.h"

#include <cmath>
#include <type_traits>

#include "Components/DeviceBase.h"
#include "Fuzz/Support.h"

namespace {

constexpr size_t kBufferSize = 256;  // bytes: more than an operation may read or write

struct Devices : Component::DeviceBase {
   using DeviceBase::devices;
};

// An argument of whatever type an operation has.
class Argument {
 public:
   explicit Argument( uint8_t value ) : value_( value ) {}
   ~Argument() { free( text_ ); }
   Argument( const Argument& ) = delete;
   Argument& operator=( const Argument& ) = delete;

   template < typename Value >
   operator Value() {
      if constexpr ( std::is_same_v< Value, char** > ) {
         return &text_;
      } else if constexpr ( std::is_pointer_v< Value > ) {
         return reinterpret_cast< Value >( buffer_ );
      } else if constexpr ( std::is_same_v< Value, pl_led_status > ) {
         return static_cast< Value >( value_ % ( PL_LED_BEACON + 1 ) );
      } else if constexpr ( std::is_same_v< Value, pl_poe_power_limit_mode > ) {
         return static_cast< Value >( value_ % 2 );
      } else {
         return static_cast< Value >( value_ );
      }
   }

 private:
   uint8_t value_;
   char* text_ = nullptr;
   alignas( void* ) char buffer_[ kBufferSize ] = {};
};

template < typename Object, typename... Arguments, typename Record >
void callOne( pl_status ( *operation )( Object*, Arguments... ),
              Record* record,
              const std::function< uint8_t() >& next ) {
   Fuzz::completes( [ & ] {
      if ( operation ) {
         operation( record, static_cast< Arguments >( Argument( next() ) )... );
      }
   } );
}

// Calls these operations of a table.
template < typename Record, typename Ops, typename... Operations >
Fuzz::Use useOf( Record* record, const Ops& ops, Operations Ops::*... operations ) {
   return [ =, &ops ]( const std::string& bytes ) {
      size_t count = 0;
      auto next = [ & ] {
         return bytes.empty() ? uint8_t{}
                              : static_cast< uint8_t >( bytes[ count++ % bytes.size() ] );
      };
      ( callOne( ops.*operations, record, next ), ... );
   };
}

template < typename Family >
Fuzz::Use useOfQuad( pl_xcvr* xcvr, const Family& ops ) {
   return useOf( xcvr, ops, &Family::get_presence, &Family::get_mod_sel, &Family::set_mod_sel,
                 &Family::get_lp_mode, &Family::set_lp_mode, &Family::get_reset, &Family::set_reset,
                 &Family::get_interrupt );
}

Fuzz::Use useOf( pl_temp_sensor* sensor ) {
   return useOf( sensor, *sensor->ops, &pl_temp_sensor_ops::get_temperature );
}
Fuzz::Use useOf( pl_led* led ) {
   return useOf( led, *led->ops, &pl_led_ops::set_light_setting );
}
Fuzz::Use useOf( pl_fan* fan ) {
   return useOf( fan, *fan->ops, &pl_fan_ops::debug_info, &pl_fan_ops::get_rpm,
                 &pl_fan_ops::set_rpm );
}
Fuzz::Use useOf( pl_slot* slot ) {
   return useOf( slot, *slot->ops, &pl_slot_ops::get_presence );
}
Fuzz::Use useOf( pl_psu* psu ) {
   return useOf( psu, *psu->ops, &pl_psu_ops::get_power_ok, &pl_psu_ops::get_input_current,
                 &pl_psu_ops::get_output_current, &pl_psu_ops::get_input_voltage,
                 &pl_psu_ops::get_output_voltage, &pl_psu_ops::get_input_power,
                 &pl_psu_ops::get_output_power );
}
Fuzz::Use useOf( pl_xcvr* xcvr ) {
   const auto& family = xcvr->ops->family;
   return xcvr->ops->type == PL_XCVR_SFP
             ? useOf( xcvr, family.sfp, &pl_sfp_ops::get_presence, &pl_sfp_ops::get_tx_fault,
                      &pl_sfp_ops::get_rx_los, &pl_sfp_ops::get_tx_disable,
                      &pl_sfp_ops::set_tx_disable )
          : xcvr->ops->type == PL_XCVR_QSFP ? useOfQuad( xcvr, family.qsfp )
                                            : useOfQuad( xcvr, family.cmis );
}
Fuzz::Use useOf( pl_gpio* gpio ) {
   return useOf( gpio, *gpio->ops, &pl_gpio_ops::bit_set, &pl_gpio_ops::bit_clear,
                 &pl_gpio_ops::bit_read );
}
Fuzz::Use useOf( pl_smbus* smbus ) {
   using Ops = pl_smbus_ops;
   return useOf( smbus, *smbus->ops, &Ops::quick_command, &Ops::receive_byte, &Ops::send_byte,
                 &Ops::read_byte, &Ops::write_byte, &Ops::read_word, &Ops::write_word,
                 &Ops::block_read, &Ops::block_write, &Ops::i2c_block_read, &Ops::i2c_block_write,
                 &Ops::process_call, &Ops::block_process_call );
}
}  // namespace

Fuzz::Use Fuzz::useOf( pl_poe_port* port ) {
   using Ops = pl_poe_port_ops;
   return ::useOf( port, *port->ops, &Ops::poe_port_init, &Ops::debug_info,
                   &Ops::reprogram_poe_firmware, &Ops::set_poe_port_pse, &Ops::set_poe_port_limit,
                   &Ops::set_poe_port_shut_off_with_psu, &Ops::poe_port_power_on,
                   &Ops::set_poe_port_legacy_detect, &Ops::get_poe_port_power_state,
                   &Ops::get_poe_device_class, &Ops::get_poe_port_power, &Ops::get_poe_port_voltage,
                   &Ops::get_poe_port_current, &Ops::get_poe_port_temperature,
                   &Ops::get_poe_port_crc_status, &Ops::get_poe_port_information );
}

namespace {

using Fuzz::useOf;

template < typename Record >
Fuzz::Use useOfAny( Record* record ) {
   return record ? useOf( record ) : nullptr;
}

Fuzz::Use addKind( char kind, const char* json ) {
   switch ( kind ) {
      case 't':
         return useOfAny( pl_temp_sensor_add( json, 80, 90 ) );
      case 'T':
         return useOfAny( pl_temp_sensor_add( json, NAN, INFINITY ) );
      case 'l':
         return useOfAny( pl_led_add( json ) );
      case 'f':
         return useOfAny( pl_fan_add( json ) );
      case 's':
         return useOfAny( pl_slot_add( json ) );
      case 'p':
         return useOfAny( pl_psu_add( json ) );
      case 'x':
         return useOfAny( pl_xcvr_add( json ) );
      case 'g':
         return useOfAny( pl_gpio_add( json ) );
      case 'm':
         return useOfAny( pl_smbus_add( json, 0x48 ) );
      default:
         return useOfAny( pl_poe_port_add( json ) );
   }
}

}  // namespace

std::optional< Fuzz::Use > Fuzz::addObject( const std::string& text ) {
   Use use = []( const std::string& ) {};
   bool isDone = completes( [ & ] {
      if ( Use made = text.empty() ? nullptr : addKind( text[ 0 ], text.c_str() + 1 ) ) {
         use = made;
      }
   } );
   return isDone ? std::optional( use ) : std::nullopt;
}

void Fuzz::forgetDevices() {
   Devices::devices.clear();
}
