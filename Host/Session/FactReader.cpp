#include "Host/Session/FactReader.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <exception>

#include "Host/Session/Fact.h"
#include "Host/Session/PoeReading.h"
#include "Utils/NotImplementedException.h"
#include "pl_host.h"

namespace Host {

namespace {

// Asks callbacks, each of which may be missing, fail or throw.
class FactReader {
 public:
   template < typename Read >
   void add( const char* label, std::string_view unit, Read read ) {
      Fact fact{ label, std::string( unit ) };
      pl_failure_forget();
      try {
         fact.reading = read();
      } catch ( const NotImplementedException& ) {
         if ( !all_.empty() ) {
            return;
         }
         fact.reading = { .status = PL_STATUS_UNSUPPORTED };
      } catch ( const std::exception& error ) {
         fprintf( stderr, "exception: %s\n", error.what() );
         fact.reading = { .status = PL_STATUS_FAILURE };
      }
      if ( fact.reading.value && !std::isfinite( *fact.reading.value ) ) {
         fact.reading = { .status = PL_STATUS_DEVICE_ERROR, .text = "the reading is no number" };
      }
      if ( const pl_service_failure* failure = pl_last_failure();
           failure && fact.reading.status != PL_STATUS_OK ) {
         fact.failure = RequestFailure::of( *failure );
      }
      putFact( all_, fact );
   }

   template < typename Record, typename Value >
   void addNumber( const char* label,
                   const char* unit,
                   pl_status ( *getter )( Record*, Value* ),
                   Record* record ) {
      if ( getter ) {
         add( label, unit, [ & ] { return readNumber( getter, record ); } );
      }
   }

   void addFan( pl_fan* fan );
   void addPoePort( pl_poe_port* port );
   void addPsu( pl_psu* psu );
   void addSlot( pl_slot* slot );
   void addXcvr( pl_xcvr* xcvr );

   const std::string& text() const { return all_; }

 private:
   template < typename Ops >
   void addQuad( const Ops& ops, pl_xcvr* xcvr );

   std::string all_;
};

// Of a callback that hands out a text, which it may leave as it is.
template < typename Ask >
Reading told( Ask ask ) {
   char* text = nullptr;
   Reading reading;
   reading.status = ask( &text );
   reading.text = text ? text : "";
   free( text );
   return reading;
}

void FactReader::addFan( pl_fan* fan ) {
   if ( fan->ops->debug_info ) {
      add( "report", "", [ fan ] {
         return told( [ fan ]( char** text ) { return fan->ops->debug_info( fan, text ); } );
      } );
   }
}

void FactReader::addPoePort( pl_poe_port* port ) {
   const pl_poe_port_ops& ops = *port->ops;
   if ( ops.get_poe_port_power_state ) {
      add( "port state", "", [ port ] { return readPoeState( port ); } );
   }
   if ( ops.get_poe_device_class ) {
      add( "device class", "", [ port ] { return readPoeClass( port ); } );
   }
   addNumber( "voltage", "V", ops.get_poe_port_voltage, port );
   addNumber( "current", "A", ops.get_poe_port_current, port );
   addNumber( "temperature", "C", ops.get_poe_port_temperature, port );
   addNumber( "checksums ok", "", ops.get_poe_port_crc_status, port );
   if ( ops.debug_info ) {
      add( "report", "", [ port ] {
         Reading reading;
         reading.status = readPoeDebugReport( port, false, reading.text );
         return reading;
      } );
   }
}

void FactReader::addPsu( pl_psu* psu ) {
   const pl_psu_ops& ops = *psu->ops;
   addNumber( "input voltage", "V", ops.get_input_voltage, psu );
   addNumber( "input current", "A", ops.get_input_current, psu );
   addNumber( "input power", "W", ops.get_input_power, psu );
   addNumber( "output voltage", "V", ops.get_output_voltage, psu );
   addNumber( "output current", "A", ops.get_output_current, psu );
   addNumber( "output power", "W", ops.get_output_power, psu );
}

// At full length: a program for the host.
void FactReader::addSlot( pl_slot* slot ) {
   add( "description", "", [ slot ] {
      return told( [ slot ]( char** text ) { return slot->ops->get_presence( slot, text ); } );
   } );
}

template < typename Ops >
void FactReader::addQuad( const Ops& ops, pl_xcvr* xcvr ) {
   addNumber( "module select", "", ops.get_mod_sel, xcvr );
   addNumber( "low power mode", "", ops.get_lp_mode, xcvr );
   addNumber( "reset", "", ops.get_reset, xcvr );
   addNumber( "interrupt", "", ops.get_interrupt, xcvr );
}

void FactReader::addXcvr( pl_xcvr* xcvr ) {
   const auto& family = xcvr->ops->family;
   auto addType = [ this ]( const char* type ) {
      add( "type", "", [ type ] { return Reading{ .text = type }; } );
   };
   switch ( xcvr->ops->type ) {
      case PL_XCVR_SFP:
         addType( "SFP" );
         addNumber( "transmitter fault", "", family.sfp.get_tx_fault, xcvr );
         addNumber( "loss of signal", "", family.sfp.get_rx_los, xcvr );
         addNumber( "transmitter disabled", "", family.sfp.get_tx_disable, xcvr );
         return;
      case PL_XCVR_QSFP:
         addType( "QSFP" );
         return addQuad( family.qsfp, xcvr );
      default:
         addType( "CMIS" );
         addQuad( family.cmis, xcvr );
   }
}

const char* readingLabel( Kind kind ) {
   switch ( kind ) {
      case Kind::TempSensor:
         return "temperature";
      case Kind::Fan:
         return "speed";
      case Kind::PoePort:
         return "power";
      case Kind::Psu:
         return "power ok";
      case Kind::Slot:
         return "module";
      default:
         return "value";
   }
}

}  // namespace

Reading readFacts( Kind kind, void* object ) {
   FactReader facts;
   facts.add( readingLabel( kind ), operations( kind ).unit,
              [ & ] { return operations( kind ).read( object ); } );
   switch ( kind ) {
      case Kind::Fan:
         facts.addFan( static_cast< pl_fan* >( object ) );
         break;
      case Kind::PoePort:
         facts.addPoePort( static_cast< pl_poe_port* >( object ) );
         break;
      case Kind::Psu:
         facts.addPsu( static_cast< pl_psu* >( object ) );
         break;
      case Kind::Slot:
         facts.addSlot( static_cast< pl_slot* >( object ) );
         break;
      case Kind::Xcvr:
         facts.addXcvr( static_cast< pl_xcvr* >( object ) );
         break;
      default:
         break;
   }
   return { .text = facts.text() };
}

}  // namespace Host
