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
// stale socket file is replaced. Of several servers only one can be at a path: it holds a lock on
// the file lockFileFor() as long as the object lives.
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

   // So that no more clients come. Thread safe.
   void removeFile() const;

   static std::string lockFileFor( const std::string& path ) { return path + ".lock"; }

 private:
   // A locked file with the process's id, which goes with the object.
   class Lock {
    public:
      explicit Lock( const std::string& path );
      ~Lock();
      Lock( const Lock& ) = delete;
      Lock& operator=( const Lock& ) = delete;

    private:
      const std::string file_;
      int descriptor_ = -1;
   };

   void waitForClient();
   void acceptClient();

   const std::string path_;
   const Lock lock_;
   ino_t file_ = 0;  // the socket file's own number
   asio::local::stream_protocol::acceptor acceptor_;
   asio::steady_timer timer_;
   std::function< void( int descriptor ) > onClient_;
};

}  // namespace SmbusService
