#include "Drivers/BCM59121/BCM59121.h"

#include "Drivers/Arguments.h"
#include "Drivers/BCM59121/Commands.h"
#include "Drivers/BCM59121/Exchange.h"
#include "Drivers/BCM59121/PoePort.h"

namespace Drivers {

namespace {

constexpr double kAnswerLasts = 2.0;  // seconds
constexpr double kNanosecondsPerSecond = 1000000000.0;

double secondsOf( const timespec& time ) {
   return static_cast< double >( time.tv_sec ) +
          static_cast< double >( time.tv_nsec ) / kNanosecondsPerSecond;
}

// An error code is traced as a signed byte.
pl_status checkAndTrace( uint8_t cmd, const std::string& response ) {
   pl_status status = Poe::check( cmd, response );
   if ( status == PL_STATUS_IO_ERROR ) {
      pl_trace( 0, "Error: Checksum invalid" );
   } else if ( status != PL_STATUS_OK ) {
      pl_trace( 0, "Error: Failed to read PoE chip. Error code: %x",
                static_cast< unsigned >( static_cast< int8_t >( Poe::byteAt( response, 0 ) ) ) );
   }
   return status;
}

pl_status receiveAndCheck( Ham::Ham* ham, uint8_t cmd, std::string& response ) {
   if ( pl_status status = Poe::receive( ham, response ) ) {
      pl_trace( 0, "Error: Failed to read PoE chip" );
      return status;
   }
   return checkAndTrace( cmd, response );
}

}  // namespace

Component::HardwareDevice* BCM59121::create( const FactoryArgs& args, Ham::Ham* ) {
   return new BCM59121( args );
}

BCM59121::BCM59121( const FactoryArgs& args )
    : numPorts( static_cast< uint8_t >( LUMEN_INT_ARGUMENT( args, "numPorts" ) ) ),
      numAtPorts( static_cast< uint8_t >( LUMEN_INT_ARGUMENT( args, "numAtPorts" ) ) ) {
   cache.resize( numPorts );
   psuShutOff.resize( numPorts );
   isShutOffUnsure_.resize( numPorts );
   if ( const std::string* path = findArgument( args.driverArgs, "firmwarePath" ) ) {
      firmwarePath = *path;
      hasFirmwarePath = true;
   }
   const std::string* isValueZero = findArgument( args.driverArgs, "mpssValueZero" );
   mpssValueZero = isValueZero && *isValueZero == "true";
}

Component::LogicalDevice::PoePort* BCM59121::newPoePort( const DriverArgs& args ) {
   auto portId = static_cast< uint8_t >( LUMEN_INT_ARGUMENT( args, "portId" ) );
   pl_trace( 0, "Creating new BCM59121 PoE port id %d", portId );
   return new PoePort( this, portId );
}

// The simulation has one answer to everything, which says that the controller is not ready.
const Utils::ExpectedValues& BCM59121::expectedValues() {
   static const Utils::ExpectedValues values = {
      { Poe::kAnswer, Utils::ExpectedVal( Poe::request( Poe::kNotReady, Poe::parameters( {} ) ) ) },
   };
   return values;
}

pl_status BCM59121::query( uint8_t cmd,
                           const Poe::Parameters& parameters,
                           std::string& response,
                           timespec& last ) {
   timespec now{};
   clock_gettime( CLOCK_MONOTONIC, &now );
   if ( !response.empty() && secondsOf( now ) - secondsOf( last ) < kAnswerLasts ) {
      return PL_STATUS_OK;
   }
   last = now;
   if ( pl_status status = Poe::send( ham(), Poe::request( cmd, parameters ) ) ) {
      pl_trace( 0, "Error: Failed to write to PoE chip. Command: %x.", cmd );
      return status;
   }
   Poe::pause( Poe::kTurnaround );
   return receiveAndCheck( ham(), cmd, response );
}

pl_status BCM59121::queryCustom( uint8_t cmd,
                                 uint8_t b1,
                                 uint8_t b2,
                                 uint8_t b3,
                                 uint8_t b4,
                                 uint8_t b5,
                                 uint8_t b6,
                                 uint8_t b7,
                                 uint8_t b8,
                                 uint8_t b9,
                                 uint8_t b10,
                                 std::string& response,
                                 timespec& last ) {
   return query( cmd, { b1, b2, b3, b4, b5, b6, b7, b8, b9, b10 }, response, last );
}

pl_status BCM59121::queryPort( uint8_t port, uint8_t cmd, std::string& response, timespec& last ) {
   return query( cmd, Poe::parameters( { port } ), response, last );
}

pl_status BCM59121::configure( uint8_t cmd,
                               const Poe::Parameters& parameters,
                               uint16_t delay,
                               bool readAck ) {
   if ( pl_status status = Poe::send( ham(), Poe::request( cmd, parameters ) ) ) {
      pl_trace( 0, "Error: Failed to write to PoE chip. Command: %x", cmd );
      return status;
   }
   Poe::pause( Poe::kTurnaround * delay );
   std::string acknowledgement;
   return readAck ? receiveAndCheck( ham(), cmd, acknowledgement ) : PL_STATUS_OK;
}

pl_status BCM59121::configCustom( uint8_t cmd,
                                  uint8_t b1,
                                  uint8_t b2,
                                  uint8_t b3,
                                  uint8_t b4,
                                  uint8_t b5,
                                  uint8_t b6,
                                  uint8_t b7,
                                  uint8_t b8,
                                  uint8_t b9,
                                  uint8_t b10,
                                  uint16_t delay,
                                  bool readAck ) {
   return configure( cmd, { b1, b2, b3, b4, b5, b6, b7, b8, b9, b10 }, delay, readAck );
}

pl_status BCM59121::tell( uint8_t cmd, std::initializer_list< uint8_t > values, uint16_t delay ) {
   return configure( cmd, Poe::parameters( values ), delay, true );
}

pl_status BCM59121::configPort( PoePort* port, uint8_t cmd, uint8_t value, uint16_t delay ) {
   if ( pl_status status = refusal( port ) ) {
      return status;
   }
   return tell( cmd, { port->id, value }, delay );
}

pl_status BCM59121::configSystem( uint8_t cmd, uint8_t value, uint16_t delay ) {
   return tell( cmd, { value }, delay );
}

pl_status BCM59121::queryDebug( uint8_t port, uint8_t cmd, std::string& response ) {
   // A failed send shows up as a failed or bad read.
   ( void )Poe::send( ham(), Poe::request( cmd, Poe::parameters( { port } ) ) );
   Poe::pause( Poe::kTurnaround );
   if ( pl_status status = Poe::receive( ham(), response ) ) {
      response.clear();
      return status;
   }
   return checkAndTrace( cmd, response );
}

pl_status BCM59121::fetch( const PoePort* port,
                           std::initializer_list< Query > queries,
                           PoeCache* answers ) {
   if ( pl_status status = refusal( port ) ) {
      return status;
   }
   *answers = cache[ port->id ];
   for ( const Query& one : queries ) {
      Answer& answer = answers->*one.slot;
      if ( pl_status status = query( one.cmd, one.parameters, answer.response, answer.last ) ) {
         return status;
      }
   }
   cache[ port->id ] = *answers;
   return PL_STATUS_OK;
}

pl_status BCM59121::refusal( const PoePort* port ) const {
   if ( port->id >= numPorts ) {
      return PL_STATUS_UNSUPPORTED;
   }
   return isReprogramming_ ? PL_STATUS_DEVICE_ERROR : PL_STATUS_OK;
}

// What a start of the controller makes untrue.
void BCM59121::forgetController() {
   cache.assign( numPorts, {} );
   psuShutOff.assign( numPorts, 0 );
   isShutOffUnsure_.assign( numPorts, false );
   globalConfigDone = false;
   crcAutocorrectOn = false;
}

}  // namespace Drivers
