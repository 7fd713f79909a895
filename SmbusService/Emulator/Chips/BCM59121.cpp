#include "SmbusService/Emulator/Chips/BCM59121.h"

namespace SmbusService::Emulator {

namespace {

constexpr uint8_t kFetch = 0xff;
constexpr uint8_t kUnused = 0xff;

constexpr uint8_t kNoFirmware = 0xaf;
constexpr uint8_t kNoSuchRequest = 0xfd;
constexpr uint8_t kWrongSum = 0xfe;
constexpr uint8_t kNotReady = 0xff;

constexpr double kStartOrErase = 0.1;  // seconds

}  // namespace

// A board that is switched on has its controller running before anyone speaks to it.
void BCM59121::reset() {
   loader_.restart();
   firmware_.start( loader_.version() );
   request_.clear();
   answer_.reset();
   setBusy( hadPower_ ? kStartOrErase : 0 );
   hadPower_ = true;
   settle();
}

bool BCM59121::start( Direction direction ) {
   if ( direction == Direction::kRead ) {
      takeRequest();
   }
   request_.clear();
   position_ = 0;
   return true;
}

bool BCM59121::write( uint8_t byte ) {
   request_.push_back( byte );
   return true;
}

uint8_t BCM59121::read() {
   if ( !answer_ ) {
      return kUnused;
   }
   uint8_t byte = ( *answer_ )[ position_++ ];
   if ( position_ == answer_->size() ) {
      answer_.reset();
   }
   return byte;
}

void BCM59121::takeRequest() {
   bool fetches = request_.size() == 1 && request_[ 0 ] == kFetch;
   if ( request_.empty() || fetches ) {
      return;
   }
   PoeAnswer& answer = answer_.emplace();
   answer.fill( kUnused );
   answer[ 1 ] = request_.size() > 1 ? request_[ 1 ] : kUnused;
   answer[ 0 ] = perform( request_, answer );
   answer.back() = sumOf( PoeRequest( answer ).first( answer.size() - 1 ) );
   request_.clear();
   settle();
}

// Gives byte 0 of the answer.
uint8_t BCM59121::perform( PoeRequest request, PoeAnswer& answer ) {
   uint8_t command = request[ 0 ];
   if ( busy() > 0 ) {
      return kNotReady;
   }
   if ( request.size() != PoeBootLoader::sizeOf( command ) ) {
      return kNoSuchRequest;
   }
   if ( request.back() != sumOf( request.first( request.size() - 1 ) ) ) {
      return kWrongSum;
   }
   if ( !PoeBootLoader::knows( command ) ) {
      return loader_.isRunning() ? performFirmware( request, answer ) : kNoFirmware;
   }
   auto outcome = loader_.handle( request, answer );
   if ( outcome != PoeBootLoader::Outcome::kRefused ) {
      count( command );
   }
   if ( outcome == PoeBootLoader::Outcome::kCleared ) {
      setBusy( kStartOrErase );
   }
   if ( outcome == PoeBootLoader::Outcome::kStarted ) {
      firmware_.forgetSaved();
      startFirmware();
   }
   return command;
}

uint8_t BCM59121::performFirmware( PoeRequest request, PoeAnswer& answer ) {
   uint8_t command = request[ 0 ];
   auto outcome = firmware_.handle( request, answer );
   if ( outcome == PoeFirmware::Outcome::kRefused ) {
      return kNoSuchRequest;
   }
   if ( outcome != PoeFirmware::Outcome::kAnswered ) {
      count( command );
   }
   if ( outcome == PoeFirmware::Outcome::kRestarts ) {
      startFirmware();
   }
   return command;
}

void BCM59121::startFirmware() {
   firmware_.start( loader_.version() );
   setBusy( kStartOrErase );
}

void BCM59121::setFirmwareMissing( bool isMissing ) {
   loader_.setMissing( isMissing );
   firmware_.start( loader_.version() );
}

void BCM59121::count( uint8_t command ) {
   ++commands_;
   lastCommand_ = command;
}

void BCM59121::setBusy( double seconds ) {
   readyAt_ = Clock::now() + std::chrono::duration_cast< Clock::duration >( Seconds( seconds ) );
}

double BCM59121::busy() const {
   return std::max( 0.0, Seconds( readyAt_ - Clock::now() ).count() );
}

std::unique_ptr< Chip > newBCM59121() {
   return std::make_unique< BCM59121 >();
}

}  // namespace SmbusService::Emulator
