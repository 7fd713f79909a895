#include "SmbusService/Batch.h"

#include <fmt/chrono.h>
#include <fmt/format.h>

#include <algorithm>
#include <cerrno>
#include <mutex>
#include <thread>

#include "Platform/Frame.h"
#include "SmbusService/TransferError.h"

namespace SmbusService {

namespace {

constexpr size_t kResponseOverhead = 8;  // tags and lengths around the bytes of one answer
constexpr std::chrono::microseconds kByteTime( 90 );  // on a bus of 100 kHz
constexpr int kSpareShare = 16;  // a batch that waits, or has resets, leaves this part of its time

std::chrono::milliseconds pauseOf( const Transfer& transfer ) {
   return transfer.writes() ? transfer.address.writeDelay : transfer.address.readDelay;
}

void pauseAfter( const Transfer& transfer ) {
   auto pause = pauseOf( transfer );
   if ( pause.count() ) {
      std::this_thread::sleep_for( pause );
   }
}

std::chrono::microseconds longestOf( const Step& step ) {
   const Transfer& transfer = step.transfer;
   auto bytes = static_cast< int >( transfer.data.size() + transfer.answerLimit() );
   return step.adapter->patience( transfer ) + pauseOf( transfer ) + bytes * kByteTime;
}

}  // namespace

void Batch::execute( const Smbus::TransactionRequest& batch, Smbus::TransactionResponse& reply ) {
   reply.Clear();
   start_ = Clock::now();
   if ( !prepare( batch, reply ) ) {
      return;
   }
   auto used = adapters();
   Locks locks;
   if ( lock( used, locks, reply ) && admit( used, reply ) ) {
      run( std::min( batch.retry_count(), kMaxRetries ), reply );
   }
}

bool Batch::lock( const std::set< Adapter* >& used,
                  Locks& locks,
                  Smbus::TransactionResponse& reply ) {
   auto patience = limit_ - limit_ / kSpareShare;
   for ( Adapter* adapter : used ) {
      locks.emplace_back( adapter->mutex, start_ + patience );
      if ( !locks.back() ) {
         auto first = std::ranges::find( steps_, adapter, &Step::adapter );
         fail( static_cast< size_t >( first - steps_.begin() ), ETIMEDOUT,
               fmt::format( "not run: waited {} for the adapter, which client {} uses", patience,
                            adapter->client.load() ),
               reply );
         return false;
      }
      adapter->client = peer_.number;
   }
   return true;
}

void Batch::refuseLong( size_t count, Smbus::TransactionResponse& reply ) {
   reply.Clear();
   count_ = count;
   refuse( E2BIG, fmt::format( "{} requests in a batch, at most {}", count, kMaxRequests ), reply );
}

// Decodes and checks all requests before the first is executed.
bool Batch::prepare( const Smbus::TransactionRequest& batch, Smbus::TransactionResponse& reply ) {
   steps_.clear();
   count_ = static_cast< size_t >( batch.request_size() );
   size_t answerLimit = 0;
   for ( const Smbus::Request& request : batch.request() ) {
      steps_.push_back( { decode( request ), nullptr } );
      Step& step = steps_.back();
      if ( auto problem = problemOf( request, step.transfer ) ) {
         fail( steps_.size() - 1, EINVAL, *problem, reply );
         return false;
      }
      step.adapter = backend_.findAdapter( step.transfer.adapter );
      if ( !step.adapter ) {
         fail( steps_.size() - 1, ENODEV, "no such adapter", reply );
         return false;
      }
      answerLimit += step.transfer.answerLimit() + kResponseOverhead;
   }
   if ( answerLimit > PlatformLibrary::Frame::kMaxPayload ) {
      refuse( EMSGSIZE, "the answers are too long for one reply", reply );
      return false;
   }
   return true;
}

// In the order of their places in memory, the same for every batch, so that two batches which lock
// them in this order never wait for each other.
std::set< Adapter* > Batch::adapters() const {
   std::set< Adapter* > result;
   for ( const Step& step : steps_ ) {
      result.insert( step.adapter );
   }
   return result;
}

// Looks at what the batch finds and may do, once nobody else can change it.
bool Batch::admit( const std::set< Adapter* >& used, Smbus::TransactionResponse& reply ) {
   auto writes = []( const Step& step ) { return step.transfer.writes(); };
   bool isEnding = end_.load() != Clock::time_point::max();
   if ( isEnding || ( std::ranges::any_of( steps_, writes ) && peer_.hasLeft() ) ) {
      refuse( ECANCELED, isEnding ? "the service ends" : "the client has left", reply );
      return false;
   }
   if ( !judge( Found::kOnceSettled, reply ) ) {
      return false;
   }
   std::string why;
   for ( Adapter* adapter : used ) {
      if ( int error = adapter->muxes.settle( *adapter, peer_, why ) ) {
         refuse( error, why, reply );
         return false;
      }
   }
   // A mux that did not obey may still have its channels open.
   return std::ranges::all_of(
             used, [ this ]( Adapter* each ) { return each->muxes.isSettledFor( peer_ ); } ) ||
          judge( Found::kNow, reply );
}

bool Batch::judge( Found found, Smbus::TransactionResponse& reply ) const {
   auto refusal = access_ ? access_->judge( peer_, steps_, found ) : std::nullopt;
   if ( refusal ) {
      fail( refusal->request, EACCES, refusal->why, reply );
   }
   return !refusal;
}

void Batch::run( uint32_t retries, Smbus::TransactionResponse& reply ) {
   size_t firstReset = firstTrailingReset( steps_ );
   auto due = start_ + limit_;
   if ( firstReset < steps_.size() ) {
      due -= std::max< Clock::duration >( longestOf( steps_[ firstReset ] ), limit_ / kSpareShare );
   }
   size_t next = 0;
   while ( next < steps_.size() ) {
      const Step& step = steps_[ next ];
      if ( next < firstReset ? !fits( step, due ) : Clock::now() >= start_ + limit_ ) {
         fail( next, ETIMEDOUT, fmt::format( "not run: the batch takes longer than {}", limit_ ),
               reply );
         break;
      }
      Smbus::Response* response = reply.add_response();
      std::string& answer = step.transfer.reads() ? *response->mutable_data() : scratch_;
      int error = attempt( step, retries, answer, due );
      ++next;
      if ( error ) {
         fail( next - 1, error, step.adapter->explain( error ), reply );
         break;
      }
   }
   reset( std::max( next, firstReset ), retries );
}

// What is left of the trailing resets after a failure. Once one has run into its time limit, the
// others do not keep the client from its answer.
void Batch::reset( size_t next, uint32_t retries ) {
   bool isSlow = false;
   for ( ; next < steps_.size(); ++next ) {
      const Step& step = steps_[ next ];
      auto due = std::min( start_ + limit_, end_.load() );
      if ( Clock::now() >= std::min( start_ + 2 * limit_, end_.load() ) ||
           ( isSlow && !fits( step, due ) ) ) {
         step.adapter->muxes.distrust( step.transfer );
      } else {
         isSlow |= attempt( step, retries, scratch_, due ) == ETIMEDOUT;
      }
   }
}

int Batch::attempt( const Step& step,
                    uint32_t retries,
                    std::string& answer,
                    Clock::time_point due ) {
   while ( true ) {
      int error = step.adapter->execute( step.transfer, answer, peer_ );
      pauseAfter( step.transfer );
      if ( isNoAcknowledge( error ) && step.transfer.acknowledgeOptional &&
           !step.transfer.reads() ) {
         return 0;
      }
      if ( !error || !isPassing( error ) || retries-- == 0 || !fits( step, due ) ) {
         return error;
      }
   }
}

// Whether the step ends in time, even if a chip holds it up.
bool Batch::fits( const Step& step, Clock::time_point due ) const {
   return Clock::now() + longestOf( step ) <= std::min( due, end_.load() );
}

void Batch::refuse( int error, std::string_view why, Smbus::TransactionResponse& reply ) const {
   reply.clear_response();
   reply.set_failure( error );
   reply.set_error( std::string( why ) );
   reply.mutable_details()->set_reason( std::string( why ) );
}

void Batch::fail( size_t index,
                  int error,
                  std::string_view why,
                  Smbus::TransactionResponse& reply ) const {
   const Transfer& transfer = steps_[ index ].transfer;
   refuse( error, why, reply );
   reply.set_error(
      fmt::format( "request {} of {}: {}: {}", index + 1, count_, describe( transfer ), why ) );
   Smbus::Failure& details = *reply.mutable_details();
   details.set_request( static_cast< uint32_t >( index ) );
   details.set_type( transfer.type );
   details.set_size( transfer.size );
   details.set_reg( transfer.reg );
   details.set_device( transfer.address.device );
   details.set_master( transfer.adapter.master );
   details.set_pci( transfer.adapter.pci );
   details.set_accelerator( transfer.adapter.accelerator );
   details.set_bus( transfer.adapter.bus );
}

}  // namespace SmbusService
