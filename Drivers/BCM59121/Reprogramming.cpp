#include <fmt/format.h>

#include "Drivers/BCM59121/Answers.h"
#include "Drivers/BCM59121/Firmware.h"
#include "Drivers/BCM59121/PoePort.h"
#include "Utils/Text.h"

// What the host asks of the controller's firmware.

namespace Drivers {

namespace {

constexpr int kMapAttempts = 3;

// True for as long as it lives, however its block is left.
class Busy {
 public:
   explicit Busy( bool& isBusy ) : isBusy_( isBusy ) { isBusy_ = true; }
   ~Busy() { isBusy_ = false; }
   Busy( const Busy& ) = delete;
   Busy& operator=( const Busy& ) = delete;

 private:
   bool& isBusy_;
};

}  // namespace

pl_status BCM59121::reprogramFirmware( PoePort* port, bool force, char** text ) {
   LUMEN_TRACE_PORT_OPERATION( "reprogramFirmware", ", bool, char**" );
   if ( pl_status status = refusal( port ) ) {
      return status;
   }
   std::string outcome;
   pl_status status = force ? writeFirmware( port, outcome ) : supplyFirmware( port, outcome );
   return Utils::copyToHeap( outcome, text ) ? status : PL_STATUS_FAILURE;
}

// A controller that does not tell is not taken for one without firmware.
pl_status BCM59121::supplyFirmware( PoePort* port, std::string& outcome ) {
   cache[ port->id ].system = {};  // what it was is no answer
   PoeCache answers;
   pl_status status = fetch( port, { systemQuery() }, &answers );
   const std::string& response = answers.system.response;
   if ( status == PL_STATUS_OK ) {
      outcome = fmt::format( "PoE firmware {} is running.", Poe::firmwareVersionOf( response ) );
      return PL_STATUS_OK;
   }
   if ( Poe::lacksFirmware( response ) ) {
      return writeFirmware( port, outcome );
   }
   outcome =
      fmt::format( "PoE controller does not tell its state: {}.", Poe::failureText( status ) );
   return status;
}

pl_status BCM59121::writeFirmware( PoePort* port, std::string& outcome ) {
   Poe::FirmwareImage image;
   if ( const char* fault =
           hasFirmwarePath ? Poe::loadFirmware( firmwarePath, &image ) : Poe::kFirmwareNotFound ) {
      pl_trace( 0, "%s", fault );
      outcome = fault;
      return PL_STATUS_FAILURE;
   }
   pl_trace( 0, "PoE ports lose power until the firmware runs." );
   Poe::FirmwareUpdate update( ham(), image );
   {
      Busy busy( isReprogramming_ );
      pl_status status = update.run();
      if ( update.mayHaveCleared() ) {
         forgetController();
      }
      if ( status != PL_STATUS_OK ) {
         outcome = fmt::format( "{}: {}. {}", update.failedStep(), Poe::failureText( status ),
                                update.mayHaveCleared()
                                   ? "PoE ports may have no power until it is done again."
                                   : "Nothing was changed." );
         return status;
      }
   }
   pl_status status = PL_STATUS_OK;
   for ( int attempt = 0; attempt < kMapAttempts; ++attempt ) {
      status = configPortMap( port );
      cache.assign( numPorts, {} );
      if ( status == PL_STATUS_OK ) {
         break;
      }
   }
   outcome = fmt::format( "PoE firmware {}.{} loaded{}{}.", image.version, image.extendedVersion,
                          status == PL_STATUS_OK ? "" : ", ports not mapped: ",
                          status == PL_STATUS_OK ? "" : Poe::failureText( status ) );
   return status;
}

}  // namespace Drivers
