#include "SmbusService/Server.h"

#include <fmt/format.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <exception>
#include <system_error>
#include <thread>

#include "Platform/Frame.h"

namespace SmbusService {

namespace {

constexpr size_t kMaxTurnedAway = 64;  // clients that still may read why

}  // namespace

Server::Server( asio::io_context& context,
                Backend& backend,
                const std::string& path,
                Log& log,
                const Access* access )
    : context_( context ),
      backend_( backend ),
      log_( log ),
      access_( access ),
      listener_( context, path ) {
   // Registered with the context, a client would wake the accepting thread with every message.
   listener_.accept( [ this ]( int descriptor ) { start( descriptor ); } );
}

Server::~Server() {
   stop();
}

void Server::stop() {
   listener_.close();
   for ( auto& socket : turnedAway_ ) {
      socket->close();
   }
   turnedAway_.clear();
   std::unique_lock lock( mutex_ );
   for ( Client& client : clients_ ) {
      client.connection.finish();
   }
   changed_.wait( lock, [ this ] { return clients_.empty(); } );
}

void Server::start( int descriptor ) {
   std::unique_lock lock( mutex_ );
   if ( clients_.size() >= kMaxConnections ) {
      lock.unlock();
      turnAway( descriptor, fmt::format( "there are {} clients already", kMaxConnections ) );
      return;
   }
   auto client = clients_.emplace( clients_.end(), descriptor, backend_, access_ );
   try {
      std::thread( [ this, client ] { serve( client ); } ).detach();
   } catch ( const std::system_error& error ) {
      clients_.erase( client );
      lock.unlock();
      turnAway( descriptor, error.what() );
   }
}

void Server::serve( Clients::iterator client ) {
   try {
      client->connection.serve();
   } catch ( const std::exception& error ) {
      log_.write( fmt::format( "a client's connection is closed: {}", error.what() ) );
   }
   std::lock_guard lock( mutex_ );
   close( client->descriptor );
   clients_.erase( client );
   changed_.notify_all();  // nothing of the server is touched once the lock is gone
}

// The answer waits for the client's first request. If the connection ended before that, the client
// would learn no more than that it is broken.
void Server::turnAway( int descriptor, const std::string& why ) {
   log_.write( "a client is turned away: " + why );
   Smbus::TransactionResponse answer;
   answer.set_failure( EUSERS );
   answer.set_error( "the service turns the client away: " + why );
   std::string frame;
   PlatformLibrary::Frame::encode( answer, frame );
   send( descriptor, frame.data(), frame.size(), MSG_DONTWAIT | MSG_NOSIGNAL );

   auto socket = std::make_shared< Socket >( context_ );
   asio::error_code error;
   socket->assign( asio::local::stream_protocol(), descriptor, error );
   if ( error ) {
      close( descriptor );
      return;
   }
   socket->async_wait( Socket::wait_read, [ socket ]( asio::error_code ) { socket->close(); } );
   turnedAway_.push_back( std::move( socket ) );
   if ( turnedAway_.size() > kMaxTurnedAway ) {
      turnedAway_.front()->close();
      turnedAway_.pop_front();
   }
}

}  // namespace SmbusService
