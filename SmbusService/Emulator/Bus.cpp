#include "SmbusService/Emulator/Bus.h"

#include <cerrno>
#include <thread>

namespace SmbusService::Emulator {

namespace {

constexpr std::chrono::milliseconds kTimeLimit( 25 );  // SMBus's own, where none is asked for

}  // namespace

std::chrono::milliseconds Bus::patience( const Transfer& transfer ) const {
   auto limit = transfer.address.busTimeout;
   return limit.count() ? limit : kTimeLimit;
}

int Bus::transfer( const Transfer& transfer, std::string& answer ) {
   auto start = std::chrono::steady_clock::now();
   int error = perform( transfer, answer );
   bool answers = error == 0 && transfer.reads();
   clock_.pass(
      error == ENXIO ? kUnacknowledgedBits : bitsOf( transfer, answers ? answer.size() : 0 ),
      start );
   return error;
}

int Bus::perform( const Transfer& transfer, std::string& answer ) {
   answering_.clear();
   route( root_, transfer.address.device );
   failure_ = 0;
   isStuck_ = false;
   if ( int error = strikeFaults( transfer ) ) {
      return error;
   }
   if ( answering_.empty() ) {
      return isStuck_ ? 0 : ENXIO;
   }
   int error = move( transfer, answer );
   for ( Site* site : answering_ ) {
      site->chip->stop();
   }
   return error ? error : failure_;
}

// Several chips may answer to one address: on the segment itself and behind open channels.
void Bus::route( const Segment& segment, uint8_t address ) {
   for ( Site* site : segment.sites ) {
      if ( !site->isPlugged ) {
         continue;
      }
      if ( site->address == address ) {
         answering_.push_back( site );
      }
      uint8_t open = site->mux ? site->mux->openChannels() : 0;
      for ( const Channel& channel : site->channels ) {
         if ( channel.value && ( open & channel.value ) == channel.value ) {
            route( *channel.segment, address );
         }
      }
   }
}

int Bus::strikeFaults( const Transfer& transfer ) {
   bool reads = transfer.reads();
   bool timesOut = false;
   std::erase_if( answering_, [ & ]( Site* site ) {
      if ( site->faults.empty() ) {
         return false;
      }
      auto fault = site->faults.strike( reads, site->mux && !reads );
      timesOut |= fault == FaultKind::kTimeout;
      isStuck_ |= fault == FaultKind::kStuckMux;
      failure_ = fault == FaultKind::kCorrupt ? EPROTO
                 : fault == FaultKind::kShort ? EIO
                                              : failure_;
      return fault == FaultKind::kNak || fault == FaultKind::kStuckMux;
   } );
   if ( timesOut ) {
      std::this_thread::sleep_for( patience( transfer ) );
   }
   return timesOut ? ETIMEDOUT : 0;
}

int Bus::move( const Transfer& transfer, std::string& answer ) {
   if ( !transfer.isReceiveByte() && !( start( Direction::kWrite ) && writeAll( transfer ) ) ) {
      return ENXIO;
   }
   if ( !transfer.reads() ) {
      return 0;
   }
   return start( Direction::kRead ) ? readAll( transfer, answer ) : ENXIO;
}

bool Bus::start( Direction direction ) {
   std::erase_if( answering_,
                  [ direction ]( Site* site ) { return !site->chip->start( direction ); } );
   return !answering_.empty();
}

// The wire is low when anyone pulls it low, be it an acknowledge or a data bit.
bool Bus::write( uint8_t byte ) {
   bool acknowledged = false;
   for ( Site* site : answering_ ) {
      acknowledged |= site->chip->write( byte );
   }
   return acknowledged;
}

uint8_t Bus::read() {
   uint8_t byte = 0xff;
   for ( Site* site : answering_ ) {
      byte &= site->chip->read();
   }
   return byte;
}

bool Bus::writeAll( const Transfer& transfer ) {
   int registerSize = transfer.isSendByte() ? 1 : transfer.address.registerSize;
   for ( int shift = 8 * ( registerSize - 1 ); shift >= 0; shift -= 8 ) {
      if ( !write( static_cast< uint8_t >( transfer.reg >> shift ) ) ) {
         return false;
      }
   }
   if ( transfer.type == Smbus::REQUEST_BLOCK_WRITE &&
        !write( static_cast< uint8_t >( transfer.size ) ) ) {
      return false;
   }
   for ( char byte : transfer.data ) {
      if ( !write( static_cast< uint8_t >( byte ) ) ) {
         return false;
      }
   }
   return true;
}

int Bus::readAll( const Transfer& transfer, std::string& answer ) {
   bool isBlock = transfer.type == Smbus::REQUEST_BLOCK_READ;
   size_t count = isBlock ? read() : transfer.answerLimit();
   if ( count == 0 ) {
      return EPROTO;
   }
   answer.resize( count );
   for ( char& byte : answer ) {
      byte = static_cast< char >( read() );
   }
   return 0;
}

}  // namespace SmbusService::Emulator
