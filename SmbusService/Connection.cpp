#include "SmbusService/Connection.h"

#include <google/protobuf/io/coded_stream.h>
#include <google/protobuf/wire_format_lite.h>
#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <optional>

#include "Platform/Frame.h"

namespace SmbusService {

namespace {

namespace Frame = PlatformLibrary::Frame;

constexpr size_t kReceiveSize = 4096;  // most batches fit, so that one call receives them whole
constexpr uint32_t kRequestTag = Smbus::TransactionRequest::kRequestFieldNumber << 3 | 2;
constexpr uint32_t kIdTag = Smbus::TransactionRequest::kIdFieldNumber << 3 | 5;
constexpr size_t kKeptSize = 65536;              // buffers that have grown beyond are given back
constexpr size_t kKeptTraffic = 1 << 20;         // bytes after which messages are given back
constexpr std::chrono::seconds kTimeLimit( 5 );  // for the rest of a frame, and for a reply
constexpr std::chrono::seconds kLastTimeLimit( 1 );  // for a reply when the service ends
constexpr int kGlanceMs = 100;  // until a client that does not read sees that the service ends

// What is known of a batch before there are messages for it. A frame has room for half a million
// empty requests, which would take gigabytes.
struct Outline {
   size_t requests = 0;
   std::optional< uint32_t > id;
};

// Nothing when the payload is malformed.
std::optional< Outline > outlineOf( const char* payload, size_t size ) {
   using google::protobuf::internal::WireFormatLite;
   google::protobuf::io::CodedInputStream input( reinterpret_cast< const uint8_t* >( payload ),
                                                 static_cast< int >( size ) );
   Outline outline;
   while ( uint32_t tag = input.ReadTag() ) {
      uint32_t id;
      outline.requests += tag == kRequestTag;
      if ( tag == kIdTag && input.ReadLittleEndian32( &id ) ) {
         outline.id = id;
      } else if ( !WireFormatLite::SkipField( &input, tag ) ) {
         break;
      }
   }
   return input.ConsumedEntireMessage() ? std::optional( outline ) : std::nullopt;
}

bool isTransient( int error ) {
   return error == EINTR || error == EAGAIN;
}

// Also returns after a signal.
bool waitUntilReadable( int descriptor, std::chrono::steady_clock::time_point due ) {
   auto left =
      std::chrono::ceil< std::chrono::milliseconds >( due - std::chrono::steady_clock::now() );
   pollfd entry{ descriptor, POLLIN, 0 };
   return poll( &entry, 1, static_cast< int >( std::max< int64_t >( left.count(), 0 ) ) ) != 0;
}

}  // namespace

Connection::Connection( Peer peer, Backend& backend, const Access* access )
    : descriptor_( peer.socket ), batch_( backend, std::move( peer ), access ) {}

void Connection::serve() {
   while ( !finishing_ && receiveFrame() ) {
      if ( !execute( input_.data() + begin_ + Frame::kHeaderSize, payload_ ) || !sendReply() ) {
         break;
      }
      begin_ += Frame::kHeaderSize + payload_;
      giveBack();
      if ( begin_ == end_ ) {
         idleSince_ = Clock::now();
      }
   }
}

// False when the payload is malformed.
bool Connection::execute( const char* payload, size_t size ) {
   auto outline = outlineOf( payload, size );
   if ( !outline ) {
      return false;
   }
   if ( outline->requests > kMaxRequests ) {
      batch_.refuseLong( outline->requests, reply_ );
   } else if ( request_.ParseFromArray( payload, static_cast< int >( size ) ) ) {
      batch_.execute( request_, reply_ );
   } else {
      return false;
   }
   if ( outline->id ) {
      reply_.set_id( *outline->id );
   }
   return true;
}

// What a large batch took, or many that differ: messages keep the memory of the largest at each of
// their places, which is no more than what has come and gone since they were new.
void Connection::giveBack() {
   moved_ += payload_ + output_.size();
   if ( input_.size() <= kKeptSize && output_.size() <= kKeptSize && moved_ <= kKeptTraffic ) {
      return;
   }
   moved_ = 0;
   input_ = std::vector< char >( input_.begin() + begin_, input_.begin() + end_ );
   input_.resize( std::max( input_.size(), kReceiveSize ) );
   end_ -= begin_;
   begin_ = 0;
   std::string().swap( output_ );
   Smbus::TransactionRequest().Swap( &request_ );
   Smbus::TransactionResponse().Swap( &reply_ );
}

void Connection::finish() {
   finishing_ = true;
   batch_.finish();
   leave();
}

void Connection::leave() {
   shutdown( descriptor_, SHUT_RD );
}

std::optional< Connection::Clock::time_point > Connection::idleSince() const {
   auto since = idleSince_.load();
   return since == Clock::time_point::max() ? std::nullopt : std::optional( since );
}

bool Connection::receiveFrame() {
   Clock::time_point due = Clock::time_point::max();
   while ( true ) {
      size_t available = end_ - begin_;
      size_t wanted = Frame::kHeaderSize;
      if ( available >= wanted ) {
         payload_ = Frame::payloadLength( input_.data() + begin_ );
         if ( payload_ > Frame::kMaxPayload ) {
            return false;
         }
         wanted += payload_;
         if ( available >= wanted ) {
            return true;
         }
      }
      if ( !receiveMore( wanted, due ) ) {
         return false;
      }
   }
}

// A client may be silent for as long as it likes, but not within a frame.
bool Connection::receiveMore( size_t wanted, Clock::time_point& due ) {
   bool isWithinFrame = begin_ != end_;
   if ( isWithinFrame ) {
      due = std::min( due, Clock::now() + kTimeLimit );
      if ( !waitUntilReadable( descriptor_, due ) ) {
         return false;
      }
   }
   makeRoom( wanted );
   ssize_t count = recv( descriptor_, input_.data() + end_, input_.size() - end_,
                         isWithinFrame ? MSG_DONTWAIT : 0 );
   if ( count > 0 ) {
      idleSince_ = Clock::time_point::max();
      end_ += static_cast< size_t >( count );
   }
   return count > 0 || ( count < 0 && isTransient( errno ) );
}

void Connection::makeRoom( size_t wanted ) {
   input_.resize( std::max( { input_.size(), wanted, kReceiveSize } ) );
   memmove( input_.data(), input_.data() + begin_, end_ - begin_ );
   end_ -= begin_;
   begin_ = 0;
}

bool Connection::sendReply() {
   if ( !Frame::encode( reply_, output_ ) ) {
      return false;
   }
   auto due = Clock::time_point::max();
   size_t sent = 0;
   while ( true ) {
      ssize_t count = send( descriptor_, output_.data() + sent, output_.size() - sent,
                            MSG_NOSIGNAL | MSG_DONTWAIT );
      if ( count < 0 && !isTransient( errno ) ) {
         return false;
      }
      sent += static_cast< size_t >( std::max< ssize_t >( count, 0 ) );
      if ( sent == output_.size() ) {
         return true;
      }
      auto now = Clock::now();
      due = std::min( due, now + ( finishing_ ? kLastTimeLimit : kTimeLimit ) );
      if ( now >= due ) {
         return false;
      }
      pollfd entry{ descriptor_, POLLOUT, 0 };
      poll( &entry, 1, kGlanceMs );
   }
}

}  // namespace SmbusService
