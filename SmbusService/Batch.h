#pragma once

#include <atomic>
#include <chrono>
#include <set>
#include <vector>

#include "SmbusService/Access.h"
#include "SmbusService/Backend.h"

namespace SmbusService {

constexpr int kMaxRequests = 256;
constexpr uint32_t kMaxRetries = 100;  // a greater retry count counts as this

// Clients wait 5 s for a reply: a batch that takes longer than this fails, early enough for its
// client to learn why. After twice the time its mux resets are given up as well, so that it does
// not keep the adapter from others.
constexpr std::chrono::milliseconds kBatchLimit( 4500 );

// The same for the batch in hand when the service ends, from then on.
constexpr std::chrono::seconds kLastBatchLimit( 6 );

// Executes batches for one client. The object keeps its memory from batch to batch.
//
// A batch has at most kMaxRequests. It is refused whole when one of its requests is malformed, or
// one that the client may not make; otherwise its requests run in order, with every adapter that it
// names locked from the first to the last. A request that fails ends the batch, but the batch's
// trailing run of mux resets (send-byte 0) is executed all the same, so that no failure leaves a
// channel open. No request is begun that a chip could draw out beyond the batch's time,
// and some of that is left for the resets; a mux whose reset there is no time for is closed before
// the next batch.
class Batch {
 public:
   // Without `access` the client may do everything.
   explicit Batch( Backend& backend,
                   Peer peer = {},
                   const Access* access = nullptr,
                   std::chrono::milliseconds limit = kBatchLimit )
       : backend_( backend ), peer_( std::move( peer ) ), access_( access ), limit_( limit ) {}

   const Peer& peer() const { return peer_; }

   // Replaces the reply: one response per request, or `failure` and `error`.
   void execute( const Smbus::TransactionRequest&, Smbus::TransactionResponse& );

   // Batches that still wait for their adapters are refused from now on, and the one in hand has
   // no more than kLastBatchLimit. Thread safe.
   void finish() { end_ = Clock::now() + kLastBatchLimit; }

   // The reply to a batch of more than kMaxRequests.
   void refuseLong( size_t count, Smbus::TransactionResponse& );

 private:
   using Clock = std::chrono::steady_clock;
   using Locks = std::vector< std::unique_lock< std::timed_mutex > >;

   bool prepare( const Smbus::TransactionRequest&, Smbus::TransactionResponse& );
   std::set< Adapter* > adapters() const;
   bool lock( const std::set< Adapter* >&, Locks&, Smbus::TransactionResponse& );
   bool admit( const std::set< Adapter* >&, Smbus::TransactionResponse& );
   bool judge( Found, Smbus::TransactionResponse& ) const;
   void run( uint32_t retries, Smbus::TransactionResponse& );
   void reset( size_t next, uint32_t retries );
   int attempt( const Step&, uint32_t retries, std::string& answer, Clock::time_point due );
   bool fits( const Step&, Clock::time_point due ) const;
   void refuse( int error, std::string_view why, Smbus::TransactionResponse& ) const;
   void fail( size_t index, int error, std::string_view why, Smbus::TransactionResponse& ) const;

   Backend& backend_;
   const Peer peer_;
   const Access* access_;
   std::chrono::milliseconds limit_;
   Clock::time_point start_;
   std::atomic< Clock::time_point > end_ = Clock::time_point::max();  // of the service
   std::vector< Step > steps_;
   size_t count_ = 0;  // requests in the batch
   std::string scratch_;
};

}  // namespace SmbusService
