#include <algorithm>
#include <cstdlib>

#include "Drivers/BCM59121/Answers.h"
#include "Drivers/BCM59121/Commands.h"
#include "Drivers/BCM59121/Exchange.h"
#include "Drivers/BCM59121/PoePort.h"

// What ports and their controller need before the host uses them.

namespace Drivers {

namespace {

// Units of 4 ms until a setting is acknowledged.
constexpr uint16_t kWait = 1;
constexpr uint16_t kPowerManagementWait = 5;
constexpr uint16_t kMapWait = 3;

constexpr std::chrono::milliseconds kMapSettles{ 400 };

// Values of the settings.
constexpr uint8_t kNoPowerManagement = 0;   // of kPowerManagement
constexpr uint8_t kNoAutomaticPowerUp = 0;  // of kAutomaticPowerUp
constexpr uint8_t kNoDetectionOptions = 0;  // of kDetectionOptions
constexpr uint8_t kTwoChannels = 5;         // of kPowerUpMode
constexpr uint8_t kNeverShutOff = 0;        // of kShutOffMask
constexpr uint8_t kMapBegin = 2;            // of kPortMap
constexpr uint8_t kMapEnd = 3;              // of kPortMap
constexpr uint8_t kSystemStore = 0xF0;      // sequence field of kStore
constexpr std::initializer_list< uint8_t > kSystemValues = { 0x6D, 1, 0x2F, 1 };
constexpr uint8_t kLastOutputValues[] = { 1, 0, 1 };

// A chip has eight channels.
constexpr unsigned kChipShift = 3;
constexpr unsigned kChannelMask = 7;

constexpr uint8_t chipOf( unsigned channel ) {
   return static_cast< uint8_t >( channel >> kChipShift );
}

constexpr uint8_t placeOf( unsigned channel ) {
   return static_cast< uint8_t >( channel & kChannelMask );
}

// The steps' largest status.
class WorstStatus {
 public:
   void add( pl_status status ) { worst_ = std::max( worst_, status ); }
   pl_status get() const { return worst_; }

 private:
   pl_status worst_ = PL_STATUS_OK;
};

}  // namespace

BCM59121::Query BCM59121::systemQuery() {
   return { Poe::kSystem, Poe::parameters( {} ), &PoeCache::system };
}

pl_status BCM59121::portInit( PoePort* port ) {
   LUMEN_TRACE_PORT_OPERATION( "portInit", "" );
   if ( pl_status status = refusal( port ) ) {
      return status;
   }
   pl_trace( 0, "PoE port init: configuring PoE port %d", port->id );
   WorstStatus worst;
   if ( !globalConfigDone ) {
      worst.add( configureGlobally( port ) );
      globalConfigDone = true;
   }
   worst.add( configPort( port, Poe::kAutomaticPowerUp, kNoAutomaticPowerUp, kWait ) );
   worst.add( configPort( port, Poe::kDetectionOptions, kNoDetectionOptions, kWait ) );
   if ( hasTwoChannels( port ) ) {
      worst.add( configPort( port, Poe::kPowerUpMode, kTwoChannels, kWait ) );
   }
   worst.add( sendShutOffMask( port, kNeverShutOff ) );
   return worst.get();
}

pl_status BCM59121::configureGlobally( PoePort* port ) {
   pl_trace( 0, "Global level configurations." );
   PoeCache answers;
   pl_status status = fetch( port, { systemQuery() }, &answers );
   if ( status != PL_STATUS_OK && Poe::lacksFirmware( answers.system.response ) ) {
      char* text = nullptr;
      status = reprogramFirmware( port, false, &text );
      free( text );
   }
   WorstStatus worst;
   worst.add( status );
   worst.add( configSystem( Poe::kPowerManagement, kNoPowerManagement, kPowerManagementWait ) );
   worst.add( tell( Poe::kSystemOptions, kSystemValues, kWait ) );
   return worst.get();
}

pl_status BCM59121::configPortMap( PoePort* port ) {
   LUMEN_TRACE_PORT_OPERATION( "configPortMap", "" );
   if ( pl_status status = refusal( port ) ) {
      return status;
   }
   PoeCache answers;
   pl_status status = fetch( port, { systemQuery() }, &answers );
   if ( status == PL_STATUS_OK && Poe::isPortMapConfigured( answers.system.response ) ) {
      return PL_STATUS_OK;
   }
   WorstStatus worst;
   worst.add( status );
   worst.add( mapPorts() );
   return worst.get();
}

// Ports with one channel have the first channels, then each port has two.
pl_status BCM59121::mapPorts() {
   pl_trace( 0, "Configuring 4-pair port mapping" );
   WorstStatus worst;
   worst.add( tell( Poe::kPortMap, { kMapBegin, numPorts }, kMapWait ) );
   Poe::pause( kMapSettles );
   unsigned channel = numAtPorts;
   for ( uint8_t port = 0; port < numPorts; ++port ) {
      bool isTwo = port >= numAtPorts;
      unsigned first = isTwo ? channel : port;
      unsigned second = isTwo ? channel + 1 : port;
      worst.add( tell( Poe::kPortOutput,
                       { port, isTwo, chipOf( first ), placeOf( first ), placeOf( second ),
                         kLastOutputValues[ 0 ], kLastOutputValues[ 1 ], kLastOutputValues[ 2 ] },
                       kMapWait ) );
      channel += isTwo ? 2 : 0;
   }
   worst.add( tell( Poe::kPortMap, { kMapEnd }, kMapWait ) );
   Poe::pause( kMapSettles );
   Poe::Parameters store = Poe::parameters( {} );
   store[ 0 ] = kSystemStore;
   worst.add( configure( Poe::kStore, store, kMapWait, true ) );
   Poe::pause( kMapSettles );
   return worst.get();
}

}  // namespace Drivers
