#include "SmbusService/ControlSocket.h"

#include <fmt/format.h>
#include <sys/socket.h>
#include <unistd.h>

#include <asio/buffer.hpp>
#include <asio/read_until.hpp>
#include <asio/write.hpp>
#include <cerrno>
#include <system_error>

#include "SmbusService/Control.h"
#include "SmbusService/Peer.h"

namespace SmbusService {

namespace {

using asio::local::stream_protocol;

constexpr size_t kLongestLine = 64 * 1024;

}  // namespace

// One client: a line is answered before the next is read.
class ControlSocket::Session : public std::enable_shared_from_this< ControlSocket::Session > {
 public:
   Session( const Answer& answer, uid_t user, stream_protocol::socket socket )
       : answer_( answer ), user_( user ), socket_( std::move( socket ) ) {}

   // A client that does not read its answer is as idle as one that does not ask.
   Occupant occupant() const { return { user_, latest_ }; }
   void close() {
      asio::error_code ignored;
      socket_.close( ignored );
   }

   void readLine() {
      auto buffer = asio::dynamic_buffer( input_, kLongestLine );
      asio::async_read_until( socket_, buffer, '\n',
                              [ self = shared_from_this() ]( asio::error_code error, size_t size ) {
                                 if ( !error ) {
                                    self->answerLine( size );
                                 } else if ( error == asio::error::not_found ) {
                                    self->refuseLine();
                                 }
                              } );
   }

 private:
   void answerLine( size_t size ) {
      output_ = answer_( std::string_view( input_ ).substr( 0, size - 1 ) ) + '\n';
      latest_ = std::chrono::steady_clock::now();
      input_.erase( 0, size );
      asio::async_write( socket_, asio::buffer( output_ ),
                         [ self = shared_from_this() ]( asio::error_code error, size_t ) {
                            if ( !error ) {
                               self->readLine();
                            }
                         } );
   }

   void refuseLine() {
      output_ =
         refuseControl( fmt::format( "the line is longer than {} bytes", kLongestLine ) ) + '\n';
      asio::async_write( socket_, asio::buffer( output_ ),
                         [ self = shared_from_this() ]( asio::error_code, size_t ) {} );
   }

   const Answer& answer_;
   const uid_t user_;
   stream_protocol::socket socket_;
   std::chrono::steady_clock::time_point latest_ = std::chrono::steady_clock::now();  // answer
   std::string input_;
   std::string output_;
};

ControlSocket::ControlSocket( Answer answer, const std::string& path, const PlaceLimits& places )
    : answer_( std::move( answer ) ),
      places_( places ),
      listener_( context_, path, { .hasGroup = false } ) {
   listener_.accept( [ this ]( int descriptor ) { start( descriptor ); } );
   thread_ = std::thread( [ this ] { context_.run(); } );
}

ControlSocket::~ControlSocket() {
   context_.stop();
   thread_.join();
}

void ControlSocket::start( int descriptor ) {
   std::string whyNot;
   try {
      uid_t user = Peer::userAt( descriptor );
      whyNot = makeRoomFor( user );
      if ( whyNot.empty() ) {
         stream_protocol::socket socket( context_, stream_protocol(), descriptor );
         auto session = std::make_shared< Session >( answer_, user, std::move( socket ) );
         sessions_.push_back( session );
         session->readLine();
         return;
      }
   } catch ( const std::system_error& error ) {
      whyNot = error.what();
   }
   std::string line = refuseControl( "the service turns the client away: " + whyNot ) + '\n';
   send( descriptor, line.data(), line.size(), MSG_DONTWAIT | MSG_NOSIGNAL );
   ::close( descriptor );
}

// Why there is none; empty where there is.
std::string ControlSocket::makeRoomFor( uid_t user ) {
   std::erase_if( sessions_, []( const auto& session ) { return session.expired(); } );
   std::vector< Occupant > occupants;
   std::vector< std::shared_ptr< Session > > all;
   for ( const auto& each : sessions_ ) {
      all.push_back( each.lock() );
      occupants.push_back( all.back()->occupant() );
   }
   Place place = placeFor( user, occupants, places_ );
   if ( place.leaves ) {
      all[ *place.leaves ]->close();
      sessions_.erase( sessions_.begin() + static_cast< ptrdiff_t >( *place.leaves ) );
   }
   return place.whyNot;
}

}  // namespace SmbusService
