#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "BoardFiles/WireRecord.h"
#include "SmbusService/Log.h"
#include "SmbusService/TransferLog.h"

namespace SmbusService {

constexpr uint64_t kKeptTransfers = 1000;

// Keeps the last transfers, and appends all to a file where one is named. A file that cannot keep
// up delays nobody: what it has no room for is counted, and told in the messages.
class WireLog : public TransferLog {
 public:
   WireLog() = default;
   ~WireLog() override { finish(); }
   WireLog( const WireLog& ) = delete;
   WireLog& operator=( const WireLog& ) = delete;

   // Before the first transfer. Throws std::runtime_error with a text for people when it is no file
   // that can be written. The messages outlive the object.
   void appendTo( const std::string& path, Log& messages );

   void add( const ExecutedTransfer& ) override;

   // Waits until the file has what has come so far, but not for longer.
   void flush( std::chrono::milliseconds patience );

   // Nothing comes any more: the file is written to its end.
   void finish();

   // The greatest number so far.
   uint64_t last() const;

   // Those that are kept and have a greater number, the oldest first, `most` of them.
   std::vector< BoardFiles::WireRecord > after( uint64_t number, size_t most ) const;

 private:
   void write();

   mutable std::mutex mutex_;
   // The record with number N is at N modulo its size.
   std::vector< BoardFiles::WireRecord > kept_ =
      std::vector< BoardFiles::WireRecord >( kKeptTransfers );
   uint64_t count_ = 0;

   // The file's, under the mutex but for the descriptor.
   int file_ = -1;
   bool isTorn_ = false;  // its last line has no end; the thread's
   std::vector< BoardFiles::WireRecord > waiting_;
   size_t lost_ = 0;
   bool isWriting_ = false;
   bool isEnding_ = false;
   std::condition_variable changed_;
   std::condition_variable written_;
   Log* messages_ = nullptr;
   std::thread thread_;
};

}  // namespace SmbusService
