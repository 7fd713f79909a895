#include "Drivers/BCM59121/Firmware.h"

#include "Drivers/BCM59121/Commands.h"
#include "Drivers/BCM59121/Exchange.h"
#include "Drivers/BCM59121/Message.h"

namespace Drivers::Poe {

namespace {

constexpr int kRepeats = 3;
constexpr std::chrono::milliseconds kRepeatAfter{ 100 };
constexpr std::chrono::milliseconds kPollEvery{ 100 };
constexpr int kPolls = 50;

constexpr uint8_t kDone = 0;
constexpr uint8_t kClearKey[] = { 0x43, 0x4C, 0x52, 0x21 };

// Bytes of an answer; a block's has the block's number before its result.
constexpr size_t kResult = 2;
constexpr size_t kBlockNumber = 2;
constexpr size_t kBlockResult = 4;

// A block: command, sequence field, number, payload, checksum.
constexpr size_t kBlockPayload = 24;
constexpr size_t kBlockLength = 29;
constexpr size_t kProgressSteps = 10;

constexpr uint8_t byteOf( uint32_t number, unsigned place ) {
   return static_cast< uint8_t >( number >> 8 * place );
}

bool isDone( const std::string& response ) {
   return byteAt( response, kResult ) == kDone;
}

// These keep the controller from answering for a while. When the first answer was lost, that shows
// that they were taken; else the controller was busy before.
bool keepsBusy( uint8_t command ) {
   return command == kClearImage || command == kStartImage;
}

bool isIntact( uint8_t answer, const std::string& response ) {
   return check( answer, response ) == PL_STATUS_OK;
}

}  // namespace

pl_status FirmwareUpdate::run() {
   const struct {
      const char* name;
      pl_status ( FirmwareUpdate::*run )();
   } steps[] = {
      { "Clearing current image", &FirmwareUpdate::clear },
      { "Writing firmware", &FirmwareUpdate::write },
      { "Loading firmware", &FirmwareUpdate::load },
   };
   for ( const auto& step : steps ) {
      step_ = step.name;
      pl_trace( 0, "%s", step_ );
      if ( pl_status status = ( this->*step.run )() ) {
         pl_trace( 0, "Error: %s: %s", step_, failureText( status ) );
         return status;
      }
   }
   return PL_STATUS_OK;
}

pl_status FirmwareUpdate::clear() {
   pl_status status =
      tell( kClearImage, { kClearKey[ 0 ], kClearKey[ 1 ], kClearKey[ 2 ], kClearKey[ 3 ] } );
   mayHaveCleared_ = status == PL_STATUS_OK || mayHaveArrived_;
   return status == PL_STATUS_OK ? waitFor( kNoFirmware ) : status;
}

pl_status FirmwareUpdate::write() {
   auto length = static_cast< uint32_t >( image_.payload.size() );
   if ( pl_status status = tell(
           kAnnounceImage, { byteOf( length, 3 ), byteOf( length, 2 ), byteOf( length, 1 ),
                             byteOf( length, 0 ), image_.version, image_.extendedVersion } ) ) {
      return status;
   }
   size_t blocks = ( image_.payload.size() + kBlockPayload - 1 ) / kBlockPayload;
   for ( size_t block = 0; block < blocks; ++block ) {
      size_t progress = block * kProgressSteps / blocks;
      if ( block > 0 && progress != ( block - 1 ) * kProgressSteps / blocks ) {
         pl_trace( 0, "Writing firmware: %zu %%", progress * 100 / kProgressSteps );
      }
      if ( pl_status status = writeBlock( static_cast< uint16_t >( block ) ) ) {
         return status;
      }
   }
   return PL_STATUS_OK;
}

pl_status FirmwareUpdate::writeBlock( uint16_t number ) {
   std::string message{ static_cast< char >( kBlock ), static_cast< char >( kUnused ),
                        static_cast< char >( byteOf( number, 1 ) ),
                        static_cast< char >( byteOf( number, 0 ) ) };
   message += image_.payload.substr( number * kBlockPayload, kBlockPayload );
   message.resize( kBlockLength, static_cast< char >( kUnused ) );
   setCheckSum( message );
   return ask( message, [ number ]( const std::string& response ) {
      return wordAt( response, kBlockNumber ) == number &&
             byteAt( response, kBlockResult ) == kDone;
   } );
}

// A start whose answer is lost shows by the firmware that runs.
pl_status FirmwareUpdate::load() {
   uint32_t crc = image_.crc;
   if ( pl_status status = tell( kFinishImage, { byteOf( crc, 3 ), byteOf( crc, 2 ),
                                                 byteOf( crc, 1 ), byteOf( crc, 0 ) } ) ) {
      return status;
   }
   pl_status started = tell( kStartImage, {} );
   pl_status status = waitFor( kSystem );
   return status != PL_STATUS_OK && started != PL_STATUS_OK ? started : status;
}

pl_status FirmwareUpdate::tell( uint8_t command, std::initializer_list< uint8_t > values ) {
   return ask( request( command, parameters( values ) ), isDone );
}

template < typename IsTaken >
pl_status FirmwareUpdate::ask( const std::string& message, IsTaken isTaken ) {
   uint8_t command = byteAt( message, 0 );
   pl_status status = PL_STATUS_OK;
   std::string response;
   mayHaveArrived_ = false;
   for ( int sent = 0; sent <= kRepeats; ++sent ) {
      if ( sent > 0 ) {
         pause( kRepeatAfter );
      }
      status = exchange( ham_, message, response );
      if ( status == PL_STATUS_OK ) {
         if ( isTaken( response ) ) {
            return PL_STATUS_OK;
         }
         status = PL_STATUS_DEVICE_ERROR;
      } else if ( !isIntact( kNotReady, response ) ) {
         mayHaveArrived_ = true;
      } else if ( mayHaveArrived_ && keepsBusy( command ) ) {
         return PL_STATUS_OK;
      }
   }
   return status;
}

// What the controller answers to a query of its state, once it is ready.
pl_status FirmwareUpdate::waitFor( uint8_t answer ) {
   const std::string query = request( kSystem, parameters( {} ) );
   pl_status status = PL_STATUS_OK;
   for ( int poll = 0; poll < kPolls; ++poll ) {
      pause( kPollEvery );
      std::string response;
      status = exchange( ham_, query, response );
      if ( isIntact( answer, response ) ) {
         return PL_STATUS_OK;
      }
   }
   return status != PL_STATUS_OK ? status : PL_STATUS_DEVICE_ERROR;
}

}  // namespace Drivers::Poe
