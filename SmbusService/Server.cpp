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

Server::Server( asio::io_context& context, Backend& backend, const Door& door, Log& log )
    : context_( context ),
      backend_( backend ),
      log_( log ),
      access_( door.access ),
      places_( door.places ),
      listener_( context, door.path, { .group = door.group } ) {
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
   try {
      start( Peer::at( descriptor ) );
   } catch ( const std::system_error& error ) {
      turnAway( descriptor, error.what() );
   }
}

void Server::start( const Peer& peer ) {
   std::unique_lock lock( mutex_ );
   std::string reason = makeRoomFor( peer.uid );
   if ( !reason.empty() ) {
      lock.unlock();
      turnAway( peer.socket, reason );
      return;
   }
   auto client = clients_.emplace( clients_.end(), peer, backend_, access_ );
   try {
      std::thread( [ this, client ] { serve( client ); } ).detach();
   } catch ( const std::system_error& ) {
      clients_.erase( client );
      throw;
   }
}

// Why there is none; empty where there is.
std::string Server::makeRoomFor( uid_t user ) {
   std::vector< Occupant > occupants;
   std::vector< Client* > staying;
   for ( Client& client : clients_ ) {
      if ( !client.isLeaving ) {
         occupants.push_back( { client.connection.peer().uid, client.connection.idleSince() } );
         staying.push_back( &client );
      }
   }
   Place place = placeFor( user, occupants, places_ );
   if ( place.leaves ) {
      Client& client = *staying[ *place.leaves ];
      client.isLeaving = true;
      client.connection.leave();
      log_.write( fmt::format( "an idle client of uid {} gives its place to another",
                               client.connection.peer().uid ) );
   }
   return place.whyNot;
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
