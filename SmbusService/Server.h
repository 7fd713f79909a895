#pragma once

#include <asio/io_context.hpp>
#include <asio/local/stream_protocol.hpp>
#include <condition_variable>
#include <deque>
#include <list>
#include <memory>
#include <mutex>
#include <string>

#include "SmbusService/Connection.h"
#include "SmbusService/Listener.h"
#include "SmbusService/Log.h"
#include "SmbusService/Places.h"

namespace SmbusService {

constexpr PlaceLimits kClients{ .all = 64, .roots = 4, .ofUser = 16 };

// Serves a backend at a Unix socket. New clients are accepted by whoever runs the context; each
// client is served on a thread of its own, so that none waits for another except at an adapter.
class Server {
 public:
   // Where it listens, and who is let in.
   struct Door {
      std::string path;
      std::optional< gid_t > group = {};  // of the socket; the process's own where there is none
      const Access* access = nullptr;     // without it every client may do everything
      PlaceLimits places = kClients;
   };

   // Listens; throws std::runtime_error with a text for people.
   Server( asio::io_context&, Backend&, const Door&, Log& );
   ~Server();

   // Removes the socket and returns once the batches in hand are executed and answered. To be
   // called on the thread that runs the context, or when none does.
   void stop();

 private:
   struct Client {
      Client( const Peer& peer, Backend& backend, const Access* access )
          : descriptor( peer.socket ), connection( peer, backend, access ) {}

      int descriptor;
      Connection connection;
      bool isLeaving = false;  // it has given its place to another
   };
   using Clients = std::list< Client >;
   using Socket = asio::local::stream_protocol::socket;

   void start( int descriptor );
   void start( const Peer& );
   std::string makeRoomFor( uid_t user );
   void serve( Clients::iterator );
   void turnAway( int descriptor, const std::string& why );

   asio::io_context& context_;
   Backend& backend_;
   Log& log_;
   const Access* access_;
   const PlaceLimits places_;
   Listener listener_;
   std::deque< std::shared_ptr< Socket > > turnedAway_;
   std::mutex mutex_;
   std::condition_variable changed_;
   Clients clients_;  // under mutex_; the thread of each removes its own
};

}  // namespace SmbusService
