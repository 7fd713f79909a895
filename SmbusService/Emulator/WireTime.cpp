#include "SmbusService/Emulator/WireTime.h"

#include <sys/prctl.h>

#include <algorithm>
#include <thread>

namespace SmbusService::Emulator {

namespace {

using std::chrono::steady_clock;

constexpr unsigned kByte = 9;  // bits, with its acknowledge
constexpr unsigned kStart = 1;
constexpr unsigned kStop = 1;
constexpr unsigned kAddress = kByte;

// Sleeps of this thread end when they should; otherwise the system saves wake-ups.
void sleepExactly( steady_clock::time_point end ) {
   [[maybe_unused]] static thread_local int result = prctl( PR_SET_TIMERSLACK, 1UL );
   std::this_thread::sleep_until( end );
}

}  // namespace

unsigned bitsOf( const Transfer& transfer, size_t answered ) {
   bool isBlock =
      transfer.type == Smbus::REQUEST_BLOCK_READ || transfer.type == Smbus::REQUEST_BLOCK_WRITE;
   size_t bytes = transfer.data.size() + answered + ( isBlock ? 1 : 0 );
   unsigned frame = kStart + kAddress + kStop + static_cast< unsigned >( bytes ) * kByte;
   if ( transfer.isReceiveByte() ) {
      return frame;
   }
   unsigned command = transfer.isSendByte() ? 1 : transfer.address.registerSize;
   return frame + command * kByte + ( transfer.reads() ? kStart + kAddress : 0 );
}

void WireClock::pass( unsigned bits, steady_clock::time_point start ) {
   if ( !bitsPerSecond_ ) {
      return;
   }
   auto time = std::chrono::nanoseconds( bits * 1'000'000'000ULL / bitsPerSecond_ );
   auto saved = std::min< steady_clock::duration >( late_, time );
   auto end = start + time - saved;
   sleepExactly( end );
   late_ = late_ - saved + ( steady_clock::now() - end );
}

}  // namespace SmbusService::Emulator
