#pragma once

#include <asio/io_context.hpp>
#include <list>
#include <mutex>
#include <string>
#include <thread>

#include "SmbusService/Connection.h"
#include "SmbusService/Listener.h"

namespace SmbusService {

constexpr size_t kMaxConnections = 64;

// Serves a backend at a Unix socket. New clients are accepted by whoever runs the context; each
// client is served on a thread of its own, so that none waits for another except at an adapter.
class Server {
 public:
   // Listens; throws std::runtime_error with a text for people.
   Server( asio::io_context&, Backend&, const std::string& path );
   ~Server();

   // Removes the socket and returns once the batches in hand are executed and answered. To be
   // called on the thread that runs the context, or when none does.
   void stop();

 private:
   struct Client {
      Client( int socket, Backend& backend )
          : descriptor( socket ), connection( socket, backend ) {}

      int descriptor;  // -1 when done
      Connection connection;
      std::thread thread;
   };

   void start( int descriptor );
   void serve( Client& );
   void joinFinished();

   Backend& backend_;
   Listener listener_;
   std::mutex mutex_;
   std::list< Client > clients_;  // the list is the context thread's, `descriptor` under mutex_
};

}  // namespace SmbusService
