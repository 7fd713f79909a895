#pragma once

#include <sys/types.h>

#include <cstdint>
#include <vector>

namespace SmbusService {

// Who asks: a client's process, as the kernel vouched for it when it connected.
struct Peer {
   uint64_t number = 0;  // tells the clients of one service apart; 0 is the service itself
   uid_t uid = 0;
   std::vector< gid_t > groups = {};
   int socket = -1;

   // What the kernel knows of the other end. Throws std::system_error when it does not tell.
   static Peer at( int socket );
   static uid_t userAt( int socket );

   // Nobody reads an answer any more.
   bool hasLeft() const;
};

}  // namespace SmbusService
