#pragma once

#include <atomic>
#include <chrono>
#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "SmbusService/Batch.h"

namespace SmbusService {

// Serves one client with blocking calls, on a thread of its own: a request costs one receive and
// a reply one send. The peer's socket stays the caller's.
class Connection {
 public:
   Connection( Peer, Backend&, const Access* );

   const Peer& peer() const { return batch_.peer(); }

   // Returns when the client leaves, breaks the protocol, dawdles within a frame, or one of the
   // next two is called.
   void serve();

   // The service ends: the batch in hand is still executed and answered. Thread safe.
   void finish();

   // What has come is still executed and answered; the client can send no more. Thread safe.
   void leave();

   // Since when the client has nothing in hand, if it is so. Thread safe.
   std::optional< std::chrono::steady_clock::time_point > idleSince() const;

 private:
   using Clock = std::chrono::steady_clock;

   bool execute( const char* payload, size_t size );
   void giveBack();
   bool receiveFrame();
   bool receiveMore( size_t wanted, Clock::time_point& due );
   void makeRoom( size_t wanted );
   bool sendReply();

   int descriptor_;
   std::atomic< bool > finishing_{ false };
   std::atomic< Clock::time_point > idleSince_ = Clock::now();  // max() while it is not
   Batch batch_;
   Smbus::TransactionRequest request_;
   Smbus::TransactionResponse reply_;
   std::vector< char > input_;
   size_t begin_ = 0;  // bytes of input_ in use
   size_t end_ = 0;
   size_t payload_ = 0;  // bytes of the frame at begin_
   std::string output_;
   size_t moved_ = 0;  // bytes in both directions since memory was given back
};

}  // namespace SmbusService
