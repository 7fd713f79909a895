#include "SmbusService/Emulator/Chips/PoeBootLoader.h"

#include <algorithm>

namespace SmbusService::Emulator {

namespace {

constexpr uint8_t kClear = 0xd0;     // [2] to [5] the key
constexpr uint8_t kAnnounce = 0xd1;  // [2] to [5] length, [6] version, [7] extended version
constexpr uint8_t kBlock = 0xd2;     // [2] and [3] number, [4] to [27] payload
constexpr uint8_t kFinish = 0xd3;    // [2] to [5] CRC-32
constexpr uint8_t kStart = 0xd4;

constexpr uint8_t kKey[] = { 0x43, 0x4c, 0x52, 0x21 };
constexpr uint8_t kDone = 0;
constexpr uint8_t kRefused = 1;
constexpr uint32_t kPayload = 24;  // of a block

// CRC-32 of IEEE 802.3, lowest bit first.
uint32_t crcAfter( uint32_t crc, PoeRequest bytes ) {
   constexpr uint32_t kPolynomial = 0xedb88320;
   crc = ~crc;
   for ( uint8_t byte : bytes ) {
      crc ^= byte;
      for ( int bit = 0; bit < 8; ++bit ) {
         crc = crc >> 1 ^ ( crc & 1 ? kPolynomial : 0 );
      }
   }
   return ~crc;
}

}  // namespace

void PoeBootLoader::setMissing( bool isMissing ) {
   state_ = isMissing ? State::kMissing : State::kRunning;
}

void PoeBootLoader::restart() {
   if ( state_ != State::kRunning ) {
      state_ = State::kMissing;
   }
}

bool PoeBootLoader::knows( uint8_t command ) {
   return command >= kClear && command <= kStart;
}

size_t PoeBootLoader::sizeOf( uint8_t command ) {
   return command == kBlock ? kPoeBlockSize : kPoeMessageSize;
}

PoeBootLoader::Outcome PoeBootLoader::handle( PoeRequest request, PoeAnswer& answer ) {
   PoeRequest word = request.subspan( 2, 4 );
   PoeRequest blockNumber = request.subspan( 2, 2 );
   auto result = answer.begin() + 2;
   Outcome outcome = Outcome::kDone;
   bool isDone = false;
   switch ( request[ 0 ] ) {
      case kClear:
         isDone = clear( word );
         outcome = Outcome::kCleared;
         break;
      case kAnnounce:
         isDone = announce( numberIn( word ), { request[ 6 ], request[ 7 ] } );
         break;
      case kBlock:
         isDone = take( numberIn( blockNumber ), request.subspan( 4, kPayload ) );
         result = std::ranges::copy( blockNumber, result ).out;
         break;
      case kFinish:
         isDone = finish( numberIn( word ) );
         break;
      case kStart:
         isDone = start();
         outcome = Outcome::kStarted;
         break;
   }
   *result = isDone ? kDone : kRefused;
   return isDone ? outcome : Outcome::kRefused;
}

bool PoeBootLoader::clear( PoeRequest key ) {
   if ( !std::ranges::equal( key, kKey ) ) {
      return false;
   }
   state_ = State::kErased;
   return true;
}

bool PoeBootLoader::announce( uint32_t length, PoeVersion version ) {
   bool isErased = state_ == State::kErased || ( state_ == State::kReceiving && blocks_ == 0 );
   if ( !isErased || length == 0 || length > kLongestImage ) {
      return false;
   }
   state_ = State::kReceiving;
   version_ = version;
   length_ = length;
   blocks_ = 0;
   crc_ = 0;
   return true;
}

bool PoeBootLoader::take( uint32_t number, PoeRequest payload ) {
   if ( state_ != State::kReceiving ) {
      return false;
   }
   if ( number + 1 == blocks_ ) {
      return true;
   }
   uint32_t position = number * kPayload;
   if ( number != blocks_ || position >= length_ ) {
      return false;
   }
   crc_ = crcAfter( crc_, payload.first( std::min( kPayload, length_ - position ) ) );
   ++blocks_;
   return true;
}

// Heard again, it says again what it said.
bool PoeBootLoader::finish( uint32_t crc ) {
   bool isWritten = state_ == State::kReceiving || state_ == State::kComplete;
   if ( !isWritten ) {
      return false;
   }
   bool isGood = blocks_ * kPayload >= length_ && crc == crc_;
   state_ = isGood ? State::kComplete : State::kMissing;
   return isGood;
}

bool PoeBootLoader::start() {
   if ( state_ != State::kComplete && state_ != State::kRunning ) {
      return false;
   }
   state_ = State::kRunning;
   return true;
}

}  // namespace SmbusService::Emulator
