#include "Drivers/BCM59121/Answers.h"
#include "Drivers/BCM59121/Commands.h"
#include "Drivers/BCM59121/PoePort.h"

// What the host reads.

namespace Drivers {

namespace {

constexpr uint8_t kOfGroup = 1;  // of the CRC queries

// Ports of a CRC group, where they have one channel and where they have two.
constexpr int kGroupOfOne = 8;
constexpr int kGroupOfTwo = 4;

}  // namespace

bool BCM59121::hasTwoChannels( const PoePort* port ) const {
   return port->id >= numAtPorts;
}

BCM59121::Query BCM59121::portStatusOf( const PoePort* port ) {
   return { Poe::kPortStatus, Poe::parameters( { port->id } ), &PoeCache::portStatus };
}

BCM59121::Query BCM59121::measurementsOf( const PoePort* port ) {
   return { Poe::kMeasurements, Poe::parameters( { port->id } ), &PoeCache::measurements };
}

BCM59121::Query BCM59121::channelsOf( const PoePort* port ) {
   return { Poe::kChannels, Poe::parameters( { port->id } ), &PoeCache::channels };
}

BCM59121::Query BCM59121::channelPowerOf( const PoePort* port ) {
   return { Poe::kChannelPower, Poe::parameters( { port->id } ), &PoeCache::channelPower };
}

pl_status BCM59121::measure( const PoePort* port,
                             double ( *decode )( const std::string& ),
                             float* out ) {
   PoeCache answers;
   pl_status status = fetch( port, { measurementsOf( port ) }, &answers );
   if ( status == PL_STATUS_OK ) {
      *out = static_cast< float >( decode( answers.measurements.response ) );
   }
   return status;
}

pl_status BCM59121::getVoltage( PoePort* port, float* volts ) {
   LUMEN_TRACE_PORT_OPERATION( "getVoltage", ", float*" );
   return measure( port, Poe::voltsOf, volts );
}

pl_status BCM59121::getCurrent( PoePort* port, float* amperes ) {
   LUMEN_TRACE_PORT_OPERATION( "getCurrent", ", float*" );
   return measure( port, Poe::amperesOf, amperes );
}

pl_status BCM59121::getTemperature( PoePort* port, float* celsius ) {
   LUMEN_TRACE_PORT_OPERATION( "getTemperature", ", float*" );
   return measure( port, Poe::celsiusOf, celsius );
}

pl_status BCM59121::getPower( PoePort* port, float* total, float* primary, float* alternative ) {
   LUMEN_TRACE_PORT_OPERATION( "getPower", ", float*, float*, float*" );
   PoeCache answers;
   if ( pl_status status =
           fetch( port, { measurementsOf( port ), channelPowerOf( port ) }, &answers ) ) {
      return status;
   }
   const std::string& channels = answers.channelPower.response;
   *total = static_cast< float >( Poe::wattsOf( answers.measurements.response ) );
   *primary = static_cast< float >( Poe::primaryWattsOf( channels ) );
   *alternative = static_cast< float >( Poe::alternativeWattsOf( channels ) );
   return PL_STATUS_OK;
}

pl_status BCM59121::getDeviceClass( PoePort* port,
                                    pl_poe_device_class* cls,
                                    pl_poe_device_class* primary,
                                    pl_poe_device_class* alternative ) {
   LUMEN_TRACE_PORT_OPERATION(
      "getDeviceClass", ", pl_poe_device_class*, pl_poe_device_class*, pl_poe_device_class*" );
   PoeCache answers;
   if ( pl_status status = fetch( port, { portStatusOf( port ), channelsOf( port ) }, &answers ) ) {
      return status;
   }
   Poe::Channels channels( answers.channels.response );
   *cls = Poe::deviceClassOf( Poe::PortStatus( answers.portStatus.response ).deviceClass );
   *primary = Poe::deviceClassOf( channels.primaryClass );
   *alternative = Poe::deviceClassOf( channels.alternativeClass );
   return PL_STATUS_OK;
}

pl_status BCM59121::getPowerState( PoePort* port,
                                   pl_poe_port_state* state,
                                   pl_poe_port_state* primary,
                                   pl_poe_port_state* alternative,
                                   pl_poe_port_pair_state* pairs ) {
   LUMEN_TRACE_PORT_OPERATION(
      "getPowerState",
      ", pl_poe_port_state*, pl_poe_port_state*, pl_poe_port_state*, pl_poe_port_pair_state*" );
   PoeCache answers;
   if ( pl_status status = fetch( port, { portStatusOf( port ), channelsOf( port ) }, &answers ) ) {
      return status;
   }
   auto states =
      Poe::powerStateOf( Poe::PortStatus( answers.portStatus.response ),
                         Poe::Channels( answers.channels.response ), hasTwoChannels( port ) );
   *state = states.port;
   *primary = states.primary;
   *alternative = states.alternative;
   *pairs = states.pairs;
   return PL_STATUS_OK;
}

uint8_t BCM59121::crcGroup( const PoePort* port ) const {
   int group = hasTwoChannels( port )
                  ? numAtPorts / kGroupOfOne + ( port->id - numAtPorts ) / kGroupOfTwo
                  : port->id / kGroupOfOne;
   return static_cast< uint8_t >( group );
}

pl_status BCM59121::getCrcStatus( PoePort* port, bool* ok ) {
   LUMEN_TRACE_PORT_OPERATION( "getCrcStatus", ", bool*" );
   uint8_t cmd = hasFirmwarePath ? Poe::kCrcStatusOfFirmware : Poe::kCrcStatus;
   auto parameters = Poe::parameters( { crcGroup( port ), kOfGroup } );
   PoeCache answers;
   if ( pl_status status = fetch( port, { { cmd, parameters, &PoeCache::crc } }, &answers ) ) {
      return status;
   }
   if ( !hasFirmwarePath ) {
      return followCrc( port, Poe::isCrcGood( answers.crc.response ), ok );
   }
   *ok = Poe::isFirmwareCrcGood( answers.crc.response );
   return PL_STATUS_OK;
}

// A fault is believed when it lasts; the controller then corrects its memory until the group that
// had it is good again.
pl_status BCM59121::followCrc( PoePort* port, bool isGood, bool* ok ) {
   pl_status status = PL_STATUS_OK;
   bool isFault = !isGood && port->crcRetries == 0;
   if ( isGood ) {
      port->crcRetries = PoePort::kCrcRetries;
      if ( crcAutocorrectOn && crcFailGroup == crcGroup( port ) ) {
         status = setCrcAutocorrect( false );
      }
   } else if ( isFault ) {
      crcFailGroup = crcGroup( port );
      status = setCrcAutocorrect( true );
   } else {
      --port->crcRetries;
   }
   if ( status == PL_STATUS_OK ) {
      *ok = !isFault;
   }
   return status;
}

}  // namespace Drivers
