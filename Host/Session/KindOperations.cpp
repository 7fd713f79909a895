#include "Host/Session/KindOperations.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <charconv>
#include <climits>
#include <cstdlib>

#include "Host/Session/UseError.h"
#include "Utils/LedStatus.h"

namespace Host {

namespace {

using Utils::kLedStatusNames;

template < typename Function >
void* addByDevice( EntryPoint add, const ObjectSpec& spec ) {
   return reinterpret_cast< Function* >( add )( spec.device.c_str() );
}

void* addTempSensor( EntryPoint add, const ObjectSpec& spec ) {
   return reinterpret_cast< decltype( pl_temp_sensor_add )* >( add )(
      spec.device.c_str(), static_cast< float >( spec.alert.value() ),
      static_cast< float >( spec.critical.value() ) );
}

void* addSmbus( EntryPoint add, const ObjectSpec& spec ) {
   return reinterpret_cast< decltype( pl_smbus_add )* >( add )( spec.device.c_str(), spec.address );
}

// There is nothing to ask that changes nothing.
Reading readNothing( void* ) {
   return {};
}

// Tables may lack a getter.
template < typename Record, typename Ops, typename Value >
Reading readWith( pl_status ( *Ops::*getter )( Record*, Value* ), void* object ) {
   auto record = static_cast< Record* >( object );
   if ( !( record->ops->*getter ) ) {
      return { .status = PL_STATUS_UNSUPPORTED };
   }
   Value value{};
   pl_status status = ( record->ops->*getter )( record, &value );
   if ( status != PL_STATUS_OK ) {
      return { .status = status };
   }
   return { .status = status, .value = static_cast< double >( value ) };
}

template < auto kGetter >
Reading readValue( void* object ) {
   return readWith( kGetter, object );
}

Reading readSlot( void* object ) {
   auto slot = static_cast< pl_slot* >( object );
   char* info = nullptr;
   pl_status status = slot->ops->get_presence( slot, &info );
   if ( status != PL_STATUS_OK ) {
      return { .status = status };
   }
   Reading reading{ .text = info ? info : "" };
   free( info );
   return reading;
}

Reading readPoePort( void* object ) {
   auto port = static_cast< pl_poe_port* >( object );
   float total = 0;
   float primary = 0;
   float alternative = 0;
   pl_status status = port->ops->get_poe_port_power( port, &total, &primary, &alternative );
   if ( status != PL_STATUS_OK ) {
      return { .status = status };
   }
   return { .status = status, .value = total };
}

// A transceiver tells that there is one, and no more.
Reading readXcvr( void* object ) {
   auto xcvr = static_cast< pl_xcvr* >( object );
   const auto& family = xcvr->ops->family;
   int present = xcvr->ops->type == PL_XCVR_SFP    ? family.sfp.get_presence( xcvr )
                 : xcvr->ops->type == PL_XCVR_QSFP ? family.qsfp.get_presence( xcvr )
                                                   : family.cmis.get_presence( xcvr );
   return { .status = present ? PL_STATUS_OK : PL_STATUS_ABSENT };
}

std::optional< int > parseInteger( const std::string& text, int lowest, int highest ) {
   int number = 0;
   auto [ end, error ] = std::from_chars( text.data(), text.data() + text.size(), number );
   bool whole = error == std::errc() && end == text.data() + text.size();
   return whole && number >= lowest && number <= highest ? std::optional( number ) : std::nullopt;
}

std::optional< int > parseRpm( const std::string& text ) {
   return parseInteger( text, 0, INT_MAX );
}

std::optional< int > parseBit( const std::string& text ) {
   return parseInteger( text, 0, 1 );
}

std::optional< int > parseLedStatus( const std::string& text ) {
   auto equalIgnoringCase = [ & ]( std::string_view name ) {
      return std::ranges::equal( name, text, []( unsigned char a, unsigned char b ) {
         return std::tolower( a ) == std::tolower( b );
      } );
   };
   auto name = std::ranges::find_if( kLedStatusNames, equalIgnoringCase );
   bool isKnown = name != std::end( kLedStatusNames );
   return isKnown ? std::optional( static_cast< int >( name - kLedStatusNames ) ) : std::nullopt;
}

pl_status applyLedStatus( void* object, int status ) {
   auto led = static_cast< pl_led* >( object );
   return led->ops->set_light_setting( led, static_cast< pl_led_status >( status ) );
}

pl_status applyRpm( void* object, int rpm ) {
   auto fan = static_cast< pl_fan* >( object );
   return fan->ops->set_rpm( fan, rpm );
}

pl_status applyBit( void* object, int bit ) {
   auto gpio = static_cast< pl_gpio* >( object );
   return bit ? gpio->ops->bit_set( gpio ) : gpio->ops->bit_clear( gpio );
}

// In the order of the enumeration.
const std::array< KindOperations, kKindNames.size() > kOperations = { {
   { Kind::System, "", addByDevice< decltype( pl_system_add ) >, readNothing },
   { Kind::Slot, "", addByDevice< decltype( pl_slot_add ) >, readSlot },
   { Kind::Led,
     "",
     addByDevice< decltype( pl_led_add ) >,
     readNothing,
     { { .subject = "an LED",
         .choice = fmt::format( "it knows {}", fmt::join( kLedStatusNames, ", " ) ),
         .parse = parseLedStatus,
         .apply = applyLedStatus } } },
   { Kind::PoePort, "W", addByDevice< decltype( pl_poe_port_add ) >, readPoePort },
   { Kind::TempSensor, "C", addTempSensor, readValue< &pl_temp_sensor_ops::get_temperature > },
   { Kind::Fan,
     "rpm",
     addByDevice< decltype( pl_fan_add ) >,
     readValue< &pl_fan_ops::get_rpm >,
     { { .subject = "a fan",
         .choice = "give its rpm, 0 or more",
         .parse = parseRpm,
         .apply = applyRpm } } },
   { Kind::Xcvr, "", addByDevice< decltype( pl_xcvr_add ) >, readXcvr },
   { Kind::Psu, "", addByDevice< decltype( pl_psu_add ) >, readValue< &pl_psu_ops::get_power_ok > },
   { Kind::Gpio,
     "",
     addByDevice< decltype( pl_gpio_add ) >,
     readValue< &pl_gpio_ops::bit_read >,
     { { .subject = "a GPIO", .choice = "give 0 or 1", .parse = parseBit, .apply = applyBit } } },
   { Kind::Smbus, "", addSmbus, readNothing },
} };

}  // namespace

const KindOperations& operations( Kind kind ) {
   return kOperations[ static_cast< size_t >( kind ) ];
}

int parseSetting( const ObjectSpec& object, const std::string& text ) {
   const auto& setting = operations( object.kind ).setting;
   if ( !setting ) {
      throw UseError( fmt::format( "\"{}\" is a {}; only an led, fan or gpio can be set",
                                   object.name, kindName( object.kind ) ) );
   }
   std::optional< int > value = setting->parse( text );
   if ( !value ) {
      throw UseError(
         fmt::format( "{} cannot be set to \"{}\"; {}", setting->subject, text, setting->choice ) );
   }
   return *value;
}

}  // namespace Host
