#include "Host/Session/Object.h"

#include <fmt/format.h>

#include <cstdlib>
#include <limits>

namespace Host {

namespace {

// The value of a getter that fills one output. Tables may lack a getter.
template < typename Value, typename Record >
Reading readValue( pl_status ( *getter )( Record*, Value* ), void* object ) {
   if ( !getter ) {
      return { .status = PL_STATUS_UNSUPPORTED };
   }
   Value value{};
   pl_status status = getter( static_cast< Record* >( object ), &value );
   if ( status != PL_STATUS_OK ) {
      return { .status = status };
   }
   return { .status = status, .value = static_cast< double >( value ) };
}

Reading readSlot( pl_slot* slot ) {
   char* info = nullptr;
   pl_status status = slot->ops->get_presence( slot, &info );
   if ( status == PL_STATUS_OK ) {
      free( info );
   }
   return { .status = status };
}

Reading readPoePort( pl_poe_port* port ) {
   float total = 0;
   float primary = 0;
   float alternative = 0;
   pl_status status = port->ops->get_poe_port_power( port, &total, &primary, &alternative );
   if ( status != PL_STATUS_OK ) {
      return { .status = status };
   }
   return { .status = status, .value = total };
}

}  // namespace

void* addObject( const Library& library, const ObjectSpec& spec ) {
   const char* device = spec.device.c_str();
   switch ( spec.kind ) {
      case Kind::System:
         return library.addSystem( device );
      case Kind::Slot:
         return library.addSlot( device );
      case Kind::Led:
         return library.addLed( device );
      case Kind::PoePort:
         return library.addPoePort( device );
      case Kind::TempSensor:
         return library.addTempSensor( device, static_cast< float >( spec.alert.value() ),
                                       static_cast< float >( spec.critical.value() ) );
      case Kind::Fan:
         return library.addFan( device );
      case Kind::Xcvr:
         return library.addXcvr( device );
      case Kind::Psu:
         return library.addPsu( device );
      case Kind::Gpio:
         return library.addGpio( device );
      case Kind::Smbus:
         return library.addSmbus( device, spec.address );
   }
   return nullptr;
}

Reading readObject( Kind kind, void* object ) {
   switch ( kind ) {
      case Kind::TempSensor:
         return readValue( static_cast< pl_temp_sensor* >( object )->ops->get_temperature, object );
      case Kind::Fan:
         return readValue( static_cast< pl_fan* >( object )->ops->get_rpm, object );
      case Kind::Gpio:
         return readValue( static_cast< pl_gpio* >( object )->ops->bit_read, object );
      case Kind::Psu:
         return readValue( static_cast< pl_psu* >( object )->ops->get_power_ok, object );
      case Kind::Slot:
         return readSlot( static_cast< pl_slot* >( object ) );
      case Kind::PoePort:
         return readPoePort( static_cast< pl_poe_port* >( object ) );
      case Kind::System:
      case Kind::Led:
      case Kind::Xcvr:
      case Kind::Smbus:
         break;
   }
   return {};
}

}  // namespace Host
