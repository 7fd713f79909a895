#include "Host/Session/KindOperations.h"

#include <cstdlib>

#include "Host/Session/PoeReading.h"
#include "Host/Session/SlotWords.h"

namespace Host {

namespace {

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
   return record->ops->*getter ? readNumber( record->ops->*getter, record )
                               : Reading{ .status = PL_STATUS_UNSUPPORTED };
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
   Reading reading{ .text = slotWords( info ? info : "" ) };
   free( info );
   return reading;
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

// In the order of the enumeration.
const std::array< KindOperations, kKindNames.size() > kOperations = { {
   { Kind::System, "", addByDevice< decltype( pl_system_add ) >, readNothing },
   { Kind::Slot, "", addByDevice< decltype( pl_slot_add ) >, readSlot, TextPlace::AfterState },
   { Kind::Led, "", addByDevice< decltype( pl_led_add ) >, readNothing, TextPlace::Reading },
   { Kind::PoePort, "W", addByDevice< decltype( pl_poe_port_add ) >, readPoePower,
     TextPlace::AfterState,
     "the controller reports an error; it may be busy, or without firmware" },
   { Kind::TempSensor, "C", addTempSensor, readValue< &pl_temp_sensor_ops::get_temperature > },
   { Kind::Fan, "rpm", addByDevice< decltype( pl_fan_add ) >, readValue< &pl_fan_ops::get_rpm >,
     TextPlace::None, "it has stopped, or its tachometer is silent" },
   { Kind::Xcvr, "", addByDevice< decltype( pl_xcvr_add ) >, readXcvr },
   { Kind::Psu, "", addByDevice< decltype( pl_psu_add ) >, readValue< &pl_psu_ops::get_power_ok > },
   { Kind::Gpio, "", addByDevice< decltype( pl_gpio_add ) >, readValue< &pl_gpio_ops::bit_read > },
   { Kind::Smbus, "", addSmbus, readNothing },
} };

}  // namespace

const KindOperations& operations( Kind kind ) {
   return kOperations[ static_cast< size_t >( kind ) ];
}

}  // namespace Host
