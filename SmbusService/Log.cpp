#include "SmbusService/Log.h"

#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <system_error>
#include <thread>
#include <vector>

#include "Utils/Text.h"

namespace SmbusService {

namespace {

constexpr std::chrono::seconds kInterval( 1 );
constexpr std::chrono::milliseconds kPatience( 500 );
constexpr size_t kMaxLines = 64;  // different ones that wait

struct Line {
   std::string text;
   size_t count;
};

}  // namespace

int writeWhole( int descriptor, const std::string& text ) {
   for ( size_t written = 0; written < text.size(); ) {
      ssize_t size = ::write( descriptor, text.data() + written, text.size() - written );
      if ( size < 0 && errno != EINTR ) {
         return errno;
      }
      written += static_cast< size_t >( std::max< ssize_t >( size, 0 ) );
   }
   return 0;
}

struct Log::State {
   explicit State( int stream ) : descriptor( stream ) {}

   void run();
   std::string take();

   const int descriptor;
   std::mutex mutex;
   std::condition_variable changed;
   std::vector< Line > lines;
   size_t lost = 0;
   bool isEnding = false;
   bool hasEnded = false;
};

Log::Log( int descriptor ) : state_( std::make_shared< State >( descriptor ) ) {
   try {
      std::thread( [ state = state_ ] { state->run(); } ).detach();
   } catch ( const std::system_error& ) {
      state_->hasEnded = true;
   }
}

void Log::finish() {
   std::unique_lock lock( state_->mutex );
   state_->isEnding = true;
   state_->changed.notify_all();
   state_->changed.wait_for( lock, kPatience, [ this ] { return state_->hasEnded; } );
}

void Log::write( const std::string& line ) {
   std::lock_guard lock( state_->mutex );
   auto& lines = state_->lines;
   auto same =
      std::find_if( lines.begin(), lines.end(), [ & ]( auto& each ) { return each.text == line; } );
   if ( same != lines.end() ) {
      ++same->count;
   } else if ( lines.size() < kMaxLines ) {
      lines.push_back( { line, 1 } );
   } else {
      ++state_->lost;
   }
   state_->changed.notify_all();
}

void Log::State::run() {
   std::unique_lock lock( mutex );
   while ( true ) {
      changed.wait( lock, [ this ] { return isEnding || !lines.empty(); } );
      if ( lines.empty() ) {
         break;
      }
      size_t count = lost;
      for ( const Line& line : lines ) {
         count += line.count;
      }
      std::string text = take();
      lock.unlock();
      bool isWritten = writeWhole( descriptor, text ) == 0;
      lock.lock();
      lost += isWritten ? 0 : count;
      changed.wait_for( lock, kInterval, [ this ] { return isEnding; } );
   }
   hasEnded = true;
   changed.notify_all();
}

std::string Log::State::take() {
   std::string text;
   for ( const Line& line : lines ) {
      text += "lumen-smbusd: " + Utils::printable( line.text );
      text += line.count > 1 ? fmt::format( " ({} times)\n", line.count ) : "\n";
   }
   if ( lost ) {
      text += fmt::format( "lumen-smbusd: {} more messages were lost\n", lost );
   }
   lines.clear();
   lost = 0;
   return text;
}

}  // namespace SmbusService
