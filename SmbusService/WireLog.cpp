#include "SmbusService/WireLog.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <stdexcept>
#include <system_error>

namespace SmbusService {

namespace {

using BoardFiles::WireRecord;

constexpr mode_t kMode = 0640;
constexpr size_t kMostWaiting = 100'000;
constexpr std::chrono::milliseconds kInterval( 20 );  // transfers do not wake the writing thread

WireRecord recordOf( const ExecutedTransfer& executed ) {
   const Transfer& transfer = executed.transfer;
   return {
      .time = executed.time,
      .client = executed.peer.number,
      .uid = executed.peer.uid,
      .master = transfer.adapter.master,
      .pci = transfer.adapter.pci,
      .accelerator = transfer.adapter.accelerator,
      .bus = transfer.adapter.bus,
      .path = executed.path,
      .device = transfer.address.device,
      .operation = transfer.type,
      .reg = transfer.reg,
      .registerSize = transfer.address.registerSize,
      .size = transfer.size,
      .written = std::string( transfer.data ),
      .read = transfer.reads() && !executed.error ? executed.answer : "",
      .status = executed.error,
      .problem = executed.problem,
      .duration = executed.duration,
   };
}

}  // namespace

void WireLog::finish() {
   if ( thread_.joinable() ) {
      {
         std::lock_guard lock( mutex_ );
         isEnding_ = true;
      }
      changed_.notify_all();
      thread_.join();
      close( file_ );
   }
}

void WireLog::appendTo( const std::string& path, Log& messages ) {
   // A pipe must not make the service wait for its reader.
   file_ = open( path.c_str(), O_RDWR | O_APPEND | O_CREAT | O_CLOEXEC | O_NONBLOCK, kMode );
   struct stat status {};
   if ( file_ < 0 || fstat( file_, &status ) < 0 ) {
      throw std::system_error( errno, std::generic_category(), path );
   }
   if ( !S_ISREG( status.st_mode ) ) {
      throw std::runtime_error( path + ": is no file" );
   }
   fchmod( file_, kMode );  // whatever the process's umask is; fails for a file of somebody else's
   char last = '\n';
   isTorn_ = status.st_size && pread( file_, &last, 1, status.st_size - 1 ) == 1 && last != '\n';
   messages_ = &messages;
   thread_ = std::thread( [ this ] { write(); } );
}

void WireLog::flush( std::chrono::milliseconds patience ) {
   std::unique_lock lock( mutex_ );
   written_.wait_for( lock, patience, [ this ] { return waiting_.empty() && !isWriting_; } );
}

void WireLog::add( const ExecutedTransfer& executed ) {
   WireRecord record = recordOf( executed );
   std::lock_guard lock( mutex_ );
   record.number = ++count_;
   if ( file_ >= 0 ) {
      if ( waiting_.size() < kMostWaiting ) {
         waiting_.push_back( record );
      } else {
         ++lost_;
      }
   }
   kept_[ count_ % kKeptTransfers ] = std::move( record );
}

uint64_t WireLog::last() const {
   std::lock_guard lock( mutex_ );
   return count_;
}

std::vector< WireRecord > WireLog::after( uint64_t number, size_t most ) const {
   std::lock_guard lock( mutex_ );
   uint64_t before = std::max( number, count_ - std::min( count_, kKeptTransfers ) );
   std::vector< WireRecord > records;
   while ( before < count_ && records.size() < most ) {
      records.push_back( kept_[ ++before % kKeptTransfers ] );
   }
   return records;
}

void WireLog::write() {
   std::unique_lock lock( mutex_ );
   std::vector< WireRecord > taken;
   while ( !isEnding_ || !waiting_.empty() ) {
      taken.clear();
      taken.swap( waiting_ );
      size_t lost = std::exchange( lost_, 0 );
      isWriting_ = true;
      lock.unlock();
      if ( lost ) {
         messages_->write( fmt::format( "the wire log has no room for {} transfers", lost ) );
      }
      std::string text = isTorn_ && !taken.empty() ? "\n" : "";
      for ( const WireRecord& record : taken ) {
         text += wireRecordText( record ) + '\n';
      }
      int error = writeWhole( file_, text );
      isTorn_ = error || ( isTorn_ && taken.empty() );
      if ( error ) {
         messages_->write( fmt::format( "the wire log cannot be written, {} transfers are lost: {}",
                                        taken.size(), std::generic_category().message( error ) ) );
      }
      lock.lock();
      isWriting_ = false;
      written_.notify_all();
      changed_.wait_for( lock, kInterval, [ this ] { return isEnding_; } );
   }
}

}  // namespace SmbusService
