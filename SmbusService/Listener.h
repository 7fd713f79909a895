#pragma once

#include <sys/types.h>

#include <asio/io_context.hpp>
#include <asio/local/stream_protocol.hpp>
#include <asio/steady_timer.hpp>
#include <functional>
#include <optional>
#include <string>

namespace SmbusService {

// Who may connect to a socket, beside its owner.
struct Audience {
   bool hasGroup = true;
   std::optional< gid_t > group = {};  // the process's own where there is none
};

// A listening Unix socket in the file system, for its owner and perhaps a group. The file goes with
// the object.
//
// A socket file that somebody answers on is never taken over, nor is a file of another kind; a
// stale socket file is replaced.
class Listener {
 public:
   // Throws std::runtime_error with a text for people.
   Listener( asio::io_context&, std::string path, const Audience& audience = {} );
   ~Listener();

   // Calls with each new client's descriptor, on the thread that runs the context. The descriptor
   // is the callee's; it blocks, and the context does not know it.
   void accept( std::function< void( int descriptor ) > );

   // Stops listening and removes the file. On the thread that runs the context, or when none does.
   void close();

 private:
   void removeFile() const;
   void waitForClient();
   void acceptClient();

   std::string path_;
   ino_t file_ = 0;  // the socket file's own number
   asio::local::stream_protocol::acceptor acceptor_;
   asio::steady_timer timer_;
   std::function< void( int descriptor ) > onClient_;
};

}  // namespace SmbusService
