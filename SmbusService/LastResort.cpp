#include "SmbusService/LastResort.h"

#include <fmt/chrono.h>
#include <fmt/format.h>
#include <unistd.h>

#include "SmbusService/Log.h"
#include "SmbusService/WireLog.h"

namespace SmbusService {

namespace {

constexpr int kFailed = 1;
constexpr std::chrono::milliseconds kWireLogPatience( 300 );

}  // namespace

LastResort::~LastResort() {
   set( hasEnded_ );
   thread_.join();
}

void LastResort::set( bool& state ) {
   {
      std::lock_guard lock( mutex_ );
      state = true;
   }
   changed_.notify_all();
}

void LastResort::wait() {
   std::unique_lock lock( mutex_ );
   changed_.wait( lock, [ this ] { return isArmed_ || hasEnded_; } );
   if ( changed_.wait_for( lock, limit_, [ this ] { return hasEnded_; } ) ) {
      return;
   }
   log_.write( fmt::format(
      "what was in hand has not come to its end after {}: the service leaves it", limit_ ) );
   wireLog_.flush( kWireLogPatience );
   log_.finish();
   _exit( kFailed );
}

}  // namespace SmbusService
