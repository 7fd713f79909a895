#include "SmbusService/Server.h"

#include <fmt/format.h>
#include <unistd.h>

#include <cstdio>
#include <exception>
#include <system_error>

namespace SmbusService {

Server::Server( asio::io_context& context, Backend& backend, const std::string& path )
    : backend_( backend ), listener_( context, path ) {
   // Registered with the context, a client would wake the accepting thread with every message.
   listener_.accept( [ this ]( int descriptor ) { start( descriptor ); } );
}

Server::~Server() {
   stop();
}

void Server::stop() {
   listener_.close();
   {
      std::lock_guard lock( mutex_ );
      for ( Client& client : clients_ ) {
         if ( client.descriptor >= 0 ) {
            client.connection.finish();
         }
      }
   }
   for ( Client& client : clients_ ) {
      client.thread.join();
   }
   clients_.clear();
}

void Server::start( int descriptor ) {
   joinFinished();
   if ( clients_.size() >= kMaxConnections ) {
      fmt::print( stderr, "lumen-smbusd: {} clients already, another is turned away\n",
                  kMaxConnections );
      close( descriptor );
      return;
   }
   Client& client = clients_.emplace_back( descriptor, backend_ );
   try {
      client.thread = std::thread( [ this, &client ] { serve( client ); } );
   } catch ( const std::system_error& error ) {
      fmt::print( stderr, "lumen-smbusd: cannot serve a client: {}\n", error.what() );
      close( descriptor );
      clients_.pop_back();
   }
}

void Server::serve( Client& client ) {
   try {
      client.connection.serve();
   } catch ( const std::exception& error ) {
      fmt::print( stderr, "lumen-smbusd: a client's connection is closed: {}\n", error.what() );
   }
   std::lock_guard lock( mutex_ );
   close( client.descriptor );
   client.descriptor = -1;
}

void Server::joinFinished() {
   auto isDone = [ this ]( const Client& client ) {
      std::lock_guard lock( mutex_ );
      return client.descriptor < 0;
   };
   for ( auto client = clients_.begin(); client != clients_.end(); ) {
      if ( isDone( *client ) ) {
         client->thread.join();
         client = clients_.erase( client );
      } else {
         ++client;
      }
   }
}

}  // namespace SmbusService
