#pragma once

#include <asio/io_context.hpp>
#include <functional>
#include <string>
#include <string_view>
#include <thread>

#include "SmbusService/Listener.h"

namespace SmbusService {

// A Unix socket for requests of a line each, which are answered with a line each. Only the
// process's own user, and root, may connect: what the policy keeps from a client, the log tells. It
// lives on a thread of its own.
class ControlSocket {
 public:
   using Answer = std::function< std::string( std::string_view line ) >;

   // Throws std::runtime_error with a text for people.
   ControlSocket( Answer answer, const std::string& path );
   ~ControlSocket();

 private:
   class Session;

   const Answer answer_;
   asio::io_context context_{ 1 };
   Listener listener_;
   std::thread thread_;
};

}  // namespace SmbusService
