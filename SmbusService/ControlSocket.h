#pragma once

#include <asio/io_context.hpp>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "SmbusService/Listener.h"
#include "SmbusService/Places.h"

namespace SmbusService {

// A Unix socket for requests of a line each, which are answered with a line each. Only the
// process's own user, and root, may connect: what the policy keeps from a client, the log tells. It
// lives on a thread of its own. A line that is too long is answered, and ends its connection.
class ControlSocket {
 public:
   using Answer = std::function< std::string( std::string_view line ) >;

   // Throws std::runtime_error with a text for people.
   ControlSocket( Answer answer,
                  const std::string& path,
                  const PlaceLimits& places = { .all = 32, .roots = 4, .ofUser = 16 } );
   ~ControlSocket();

   // Lets nobody new in.
   void removeFile() const { listener_.removeFile(); }

 private:
   class Session;

   void start( int descriptor );
   std::string makeRoomFor( uid_t user );

   const Answer answer_;
   const PlaceLimits places_;
   std::vector< std::weak_ptr< Session > > sessions_;  // the thread's
   asio::io_context context_{ 1 };
   Listener listener_;
   std::thread thread_;
};

}  // namespace SmbusService
